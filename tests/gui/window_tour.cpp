// Walks the main window through its four steps against a database and saves a picture of each tab, then
// of the server-type tab at the window's minimum size, for the README. Run by scripts/screenshots.sh under a
// virtual X server.
#include <QtTest>
#include <QtWidgets>
#include <iostream>

#include "app/window/frm_nav.h"
#include "db/odbc_connection.h"
#include "support/recording_interaction.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    if (argc != 3) {
        std::cerr << "usage: window_tour CONNECTION_STRING OUTPUT_FOLDER\n";
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[2]);
    QDir().mkpath(folder);

    // Every box is answered without being shown, so the walk never waits for a person.
    tabvet::testsupport::RecordingInteraction ui;
    tabvet::MainState state(ui, tabvet::NewOdbcConnection);
    tabvet::testsupport::ScriptedFileDialog files;
    files.Answer(QDir(folder).filePath("Tessel_Diag.txt").toStdString());
    tabvet::testsupport::ScriptedEditorLauncher editor;
    tabvet::frmNav window(state, {.fileDialog = &files, .editor = &editor, .endProgram = [] {}});
    const bool loaded = window.Load();
    window.resize(780, 560);
    window.show();
    if (!loaded || !QTest::qWaitForWindowExposed(&window)) {
        std::cerr << "tour: the window was never shown\n";
        return 1;
    }
    bool ok = true;
    const auto step = [&](int tab, const char* button, const char* picture) {
        window.findChild<QTabWidget*>("SSTab1")->setCurrentIndex(tab);
        QTest::mouseClick(window.findChild<QPushButton*>(button), Qt::LeftButton);
        QApplication::processEvents();
        const QString path = QDir(folder).filePath(picture);
        const bool saved = window.grab().save(path);
        std::cout << (saved ? "" : "tour: cannot write ") << path.toStdString() << "\n";
        ok &= saved;
    };
    QTest::keyClicks(window.findChild<QLineEdit*>("txtConnString"), QString::fromLocal8Bit(argv[1]));
    step(0, "cmdConnect", "1-connect.png");
    step(1, "cmdQueryType", "2-server-type.png");
    step(2, "cmdRun", "3-run-finished.png");
    step(3, "cmdCreateReport", "4-report.png");
    // The tab that is most crowded, at the smallest size the window allows.
    window.resize(window.minimumSize());
    step(1, "cmdQueryType", "5-minimum-size.png");
    for (const std::string& line : ui.Lines()) {
        std::cerr << "tour: " << line << "\n";
    }
    return ok ? 0 : 1;
}
