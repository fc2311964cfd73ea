// Walks the main window through its four steps against a database and saves a picture of each tab, for
// the README. Run by scripts/screenshots.sh under a virtual X server.
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QtTest>
#include <iostream>

#include "db/user_interaction.h"
#include "window/frm_nav.h"

namespace {

// Answers every box without showing it, so that the walk never waits for a person; declines the offer to
// open the report in an editor.
class TourInteraction final : public tabvet::IUserInteraction {
  public:
    tabvet::MsgAnswer ShowMessage(const std::string& text, const std::string& title,
                                  tabvet::MsgButtons buttons, tabvet::MsgIcon) override {
        std::cerr << "tour: " << title << ": " << text << "\n";
        if (buttons == tabvet::MsgButtons::YesNo) {
            return title == "Report Created" ? tabvet::MsgAnswer::No : tabvet::MsgAnswer::Yes;
        }
        return tabvet::MsgAnswer::Ok;
    }
};

class TourFileDialog final : public tabvet::IFileDialog {
  public:
    explicit TourFileDialog(std::string path) : path_(std::move(path)) {}
    std::optional<std::string> ShowSave(const std::string&, const std::string&) override { return path_; }
    std::optional<std::string> ShowOpen(const std::string&, const std::string&) override { return path_; }

  private:
    std::string path_;
};

class NoEditor final : public tabvet::IEditorLauncher {
  public:
    bool Launch(const std::string&, const std::string&) override { return true; }
};

bool Save(QWidget& widget, const QString& folder, const char* name) {
    QApplication::processEvents();
    const QString path = QDir(folder).filePath(name);
    if (!widget.grab().save(path)) {
        std::cerr << "tour: cannot write " << path.toStdString() << "\n";
        return false;
    }
    std::cout << path.toStdString() << "\n";
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    if (argc != 3) {
        std::cerr << "usage: window_tour CONNECTION_STRING OUTPUT_FOLDER\n";
        return 2;
    }
    const QString connection = QString::fromLocal8Bit(argv[1]);
    const QString folder = QString::fromLocal8Bit(argv[2]);
    QDir().mkpath(folder);

    TourInteraction ui;
    tabvet::MainState state(ui);
    TourFileDialog files(QDir(folder).filePath("Tessel_Diag.txt").toStdString());
    NoEditor editor;
    tabvet::WindowServices services;
    services.fileDialog = &files;
    services.editor = &editor;
    services.endProgram = [] {};
    tabvet::frmNav window(state, std::move(services));
    if (!window.Load()) {
        return 1;
    }
    window.resize(780, 560);
    window.show();
    if (!QTest::qWaitForWindowExposed(&window)) {
        std::cerr << "tour: the window was never shown\n";
        return 1;
    }
    auto* tabs = window.findChild<QTabWidget*>("SSTab1");
    auto click = [&](const char* name) {
        QTest::mouseClick(window.findChild<QPushButton*>(name), Qt::LeftButton);
    };

    bool ok = true;
    QTest::keyClicks(window.findChild<QLineEdit*>("txtConnString"), connection);
    click("cmdConnect");
    ok &= Save(window, folder, "1-connect.png");
    tabs->setCurrentIndex(1);
    click("cmdQueryType");
    ok &= Save(window, folder, "2-server-type.png");
    tabs->setCurrentIndex(2);
    click("cmdRun");
    ok &= Save(window, folder, "3-run-finished.png");
    tabs->setCurrentIndex(3);
    click("cmdCreateReport");
    ok &= Save(window, folder, "4-report.png");
    return ok ? 0 : 1;
}
