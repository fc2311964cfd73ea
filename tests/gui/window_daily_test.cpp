// The main window in daily use, against the shared throwaway cluster: input that arrives during a run is
// dropped, settings are remembered in a private file and never hold a password, the password is masked, the
// version boxes take only what the 16-bit conversion takes, and nothing overlaps at the minimum size.
#include <QtTest>
#include <QtWidgets>

#include "app/window/frm_nav.h"
#include "db/odbc_connection.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "support/temp_folder.h"

using namespace tabvet;
using namespace tabvet::testsupport;

namespace {

constexpr const char* kDatabase = "gui_daily";

// One window over a settings file of its own; a second Fixture on the same folder is the next start.
struct Fixture {
    explicit Fixture(const TempFolder& folder)
        : settings(QString::fromStdString(folder.File("tabvet.ini")), QSettings::IniFormat),
          state(ui, NewOdbcConnection) {
        window = std::make_unique<frmNav>(
            state, WindowServices{
                       .fileDialog = &files, .editor = &editor, .settings = &settings, .endProgram = [] {}});
        QVERIFY(window->Load());
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }
    template <typename T>
    T* Find(const char* name) {
        T* widget = window->findChild<T*>(name);
        return widget != nullptr ? widget : (qFatal("no widget %s", name), nullptr);
    }
    // Types the string into the box, as a user would, and presses Enter.
    void Connect(const std::string& connectionString) {
        Find<QLineEdit>("txtConnString")->clear();
        QTest::keyClicks(Find<QLineEdit>("txtConnString"), QString::fromStdString(connectionString));
        QTest::keyClick(Find<QLineEdit>("txtConnString"), Qt::Key_Return);
    }
    QString Box(const char* name) { return Find<QLineEdit>(name)->text(); }
    QSettings settings;
    RecordingInteraction ui;
    MainState state;
    ScriptedFileDialog files;
    ScriptedEditorLauncher editor;
    std::unique_ptr<frmNav> window;
};

// The string of the shared cluster with `password` in place of its empty PWD pair (the cluster trusts all).
std::string WithPassword(const std::string& password) {
    std::string text = PgCluster::Shared().ConnectionString(kDatabase);
    return text.replace(text.find("PWD=;"), 5, password);
}

}  // namespace

class WindowDailyTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);  // nothing may reach the user's own settings
        PgCluster::Shared().CreateDatabase(
            kDatabase, {"tessel_schema.sql", "oracle_dictionary.sql", "demo/demo_schema.sql"});
    }

    void inputDuringARunIsDroppedNotReplayed_data() {
        QTest::addColumn<QString>("button");
        QTest::newRow("a second Run Tests") << "cmdRun";
        QTest::newRow("Clear This Status Window") << "cmdClearRunStatus";
        QTest::newRow("Disconnect") << "cmdConnect";
    }
    void inputDuringARunIsDroppedNotReplayed() {
        QFETCH(QString, button);
        const TempFolder folder;
        Fixture f(folder);
        f.Connect(WithPassword("PWD=;"));
        QTest::mouseClick(f.Find<QPushButton>("cmdQueryType"), Qt::LeftButton);
        auto* target = f.Find<QPushButton>(button.toUtf8().constData());
        int clocks = 0;
        f.state.now = [&] {
            if (clocks++ == 0) {  // the run has started: the user clicks, and the click waits in the queue
                const QPointF at = target->rect().center();
                for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
                    QCoreApplication::postEvent(
                        target, new QMouseEvent(type, at, target->mapToGlobal(at), Qt::LeftButton,
                                                Qt::LeftButton, Qt::NoModifier));
                }
            }
            return std::string("<now>");
        };
        QTest::mouseClick(f.Find<QPushButton>("cmdRun"), Qt::LeftButton);
        const std::string log = f.state.rtbStatus;
        QCOMPARE(clocks, 2);  // started and finished once
        QCoreApplication::processEvents();
        QTest::qWait(50);
        QCOMPARE(f.state.rtbStatus, log);
        QVERIFY(f.state.g_pAdoConn != nullptr);
        QVERIFY(f.ui.shown.empty());
        QVERIFY(log.ends_with("Test run finished at <now>"));
    }

    void settingsAreRememberedWithoutAPassword_data() {
        QTest::addColumn<QString>("password");
        QTest::newRow("PWD") << "PWD=secret;";
        QTest::newRow("Password in braces") << "Password={se;cret};";
    }
    void settingsAreRememberedWithoutAPassword() {
        QFETCH(QString, password);
        const TempFolder folder;
        const std::string typed = WithPassword(password.toStdString());
        {
            Fixture f(folder);
            f.Connect(typed);
            QVERIFY(f.state.g_pAdoConn != nullptr);
            f.files.Answer(folder.File("old.txt"));
            QTest::mouseClick(f.Find<QPushButton>("cmdViewReport"), Qt::LeftButton);
            f.window->setGeometry(40, 50, 700, 560);
            f.window->findChild<QAction*>("mnuFileExit")->trigger();  // confirmed: stores the geometry
        }
        const std::string stored = ReadBytes(folder.File("tabvet.ini"));
        QVERIFY2(stored.find("cret") == std::string::npos, stored.c_str());
        QVERIFY2(stored.find(folder.Path().string()) != std::string::npos, stored.c_str());
        Fixture next(folder);
        QCOMPARE(next.state.txtConnString, WithPassword(""));
        QVERIFY(next.Find<QPushButton>("cmdConnect")->isEnabled());
        QCOMPARE(next.state.reportFileName, folder.File("Tessel_Diag.txt"));
        QCOMPARE(next.window->size(), QSize(700, 560));
    }

    void thePasswordIsMaskedAndTheStatusBarNamesTheTarget() {
        const TempFolder folder;
        Fixture f(folder);
        QCOMPARE(QApplication::focusWidget(), f.Find<QLineEdit>("txtConnString"));
        QVERIFY(!f.window->windowIcon().isNull());
        QTest::mouseClick(f.Find<QPushButton>("cmdCanned"), Qt::LeftButton);
        QVERIFY(f.Box("txtConnString").endsWith("User Id=tsl;Password=***"));
        QVERIFY(f.state.txtConnString.ends_with("Password=kqv"));
        f.Connect(WithPassword("PWD=secret;"));
        QVERIFY(f.Box("txtConnString").endsWith("PWD=******;"));
        QCOMPARE(f.Find<QLineEdit>("txtConnString")->cursorPosition(), 0);  // its beginning shows
        QCOMPARE(f.Find<QLabel>("stsTarget")->text(), QString("Server: 127.0.0.1   Database: gui_daily"));
        QTest::mouseClick(f.Find<QPushButton>("cmdConnect"), Qt::LeftButton);
        QCOMPARE(f.Find<QLabel>("stsTarget")->text(), QString());
    }

    void versionBoxes_data() {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("boxes");
        QTest::newRow("pasted by keyboard") << "keyboard paste"
                                            << "9.1.0"
                                            << "9|1|0";
        QTest::newRow("pasted from the menu") << "menu paste"
                                              << "9.1.0"
                                              << "9|1|0";
        QTest::newRow("a paste that does not fit") << "menu paste"
                                                   << "32768"
                                                   << "||";
        QTest::newRow("pasted text") << "keyboard paste"
                                     << "9 (nine)"
                                     << "||";
        QTest::newRow("typed past the limit") << "typed"
                                              << "999999"
                                              << "9999||";
        QTest::newRow("typed with dots") << "typed"
                                         << "9.0.0"
                                         << "9|0|0";
        QTest::newRow("typed, a dot too many") << "typed"
                                               << "1.2.3.4"
                                               << "1|2|34";
    }
    void versionBoxes() {
        QFETCH(QString, how);
        QFETCH(QString, text);
        QFETCH(QString, boxes);
        const TempFolder folder;
        Fixture f(folder);
        auto* major = f.Find<QLineEdit>("txtMajorVersion");
        f.Find<QTabWidget>("SSTab1")->setCurrentIndex(1);
        major->setFocus();
        QApplication::clipboard()->setText(text);
        if (how == "keyboard paste") {
            QTest::keyClick(major, Qt::Key_V, Qt::ControlModifier);
        } else if (how == "menu paste") {
            QMetaObject::invokeMethod(major, "paste");  // what the context menu's Paste calls
        } else {
            for (const QChar c : text) {
                QTest::keyClick(QApplication::focusWidget(), c.toLatin1());
            }
        }
        QCOMPARE(f.Box("txtMajorVersion") + "|" + f.Box("txtMinorVersion") + "|" + f.Box("txtBugfix"), boxes);
    }

    void arrowKeysMoveAmongTheDbmsOptions() {
        const TempFolder folder;
        Fixture f(folder);
        f.Find<QTabWidget>("SSTab1")->setCurrentIndex(1);
        f.Find<QRadioButton>("optOracle")->setFocus();
        const std::pair<Qt::Key, DbmsOption> steps[] = {{Qt::Key_Down, DbmsOption::Informix},
                                                        {Qt::Key_Right, DbmsOption::DB2},
                                                        {Qt::Key_Down, DbmsOption::SqlServer},
                                                        {Qt::Key_Down, DbmsOption::SqlServer},
                                                        {Qt::Key_Up, DbmsOption::DB2}};
        for (const auto& [key, option] : steps) {
            QTest::keyClick(QApplication::focusWidget(), key);
            QCOMPARE(f.state.selectedDbms, option);
        }
        QVERIFY(f.Find<QRadioButton>("optDB2")->isChecked() && f.Find<QRadioButton>("optDB2")->hasFocus());
    }

    // At the minimum size every control of every tab lies inside its parent, overlaps none of its siblings
    // and has at least the room it asks for.
    void nothingOverlapsAtTheMinimumSize() {
        const TempFolder folder;
        Fixture f(folder);
        f.window->resize(f.window->minimumSize());
        auto* tabs = f.Find<QTabWidget>("SSTab1");
        for (int tab = 0; tab < tabs->count(); ++tab) {
            tabs->setCurrentIndex(tab);
            QApplication::processEvents();
            QList<QWidget*> widgets = tabs->widget(tab)->findChildren<QWidget*>();
            widgets.removeIf([](const QWidget* w) {
                return !w->isVisible() || w->parent()->inherits("QAbstractScrollArea");
            });
            for (const QWidget* w : widgets) {
                const QString where =
                    tabs->tabText(tab) + ": " + w->objectName() + " " + w->metaObject()->className();
                QVERIFY2(w->parentWidget()->rect().contains(w->geometry()), qPrintable(where));
                const int needed =
                    w->hasHeightForWidth() ? w->heightForWidth(w->width()) : w->minimumSizeHint().height();
                QVERIFY2(w->height() >= needed && w->width() >= w->minimumSizeHint().width(),
                         qPrintable(where));
                for (const QWidget* other : widgets) {
                    QVERIFY2(other == w || other->parent() != w->parent() ||
                                 !other->geometry().intersects(w->geometry()),
                             qPrintable(where + " overlaps " + other->objectName()));
                }
            }
        }
    }
};

QTEST_MAIN(WindowDailyTest)
#include "window_daily_test.moc"
