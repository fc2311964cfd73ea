// The status bar during a run, as painted: after the designed "Running test k of N: name" the checks that
// walk rows show how many they have walked, and once the walk is over the designed text stands alone again.
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

constexpr const char* kDatabase = "gui_progress";

// Every text the status bar's progress panel was painted with, in order, without repeats.
class PaintedTexts : public QObject {
  public:
    explicit PaintedTexts(QLabel* label) : label_(label) { label_->installEventFilter(this); }
    const QStringList& Texts() const { return texts_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == label_ && event->type() == QEvent::Paint &&
            (texts_.isEmpty() || texts_.back() != label_->text())) {
            texts_.push_back(label_->text());
        }
        return false;
    }

  private:
    QLabel* label_;
    QStringList texts_;
};

}  // namespace

class WindowProgressTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        PgCluster::Shared().CreateDatabase(
            kDatabase, {"tessel_schema.sql", "oracle_dictionary.sql", "demo/demo_schema.sql"});
    }

    void theStatusBarShowsTheRowsWalkedAfterTheDesignedText() {
        const TempFolder folder;
        QSettings settings(QString::fromStdString(folder.File("tabvet.ini")), QSettings::IniFormat);
        RecordingInteraction ui;
        MainState state(ui, NewOdbcConnection);
        ScriptedFileDialog files;
        ScriptedEditorLauncher editor;
        frmNav window(
            state, WindowServices{
                       .fileDialog = &files, .editor = &editor, .settings = &settings, .endProgram = [] {}});
        QVERIFY(window.Load());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto* box = window.findChild<QLineEdit*>("txtConnString");
        QTest::keyClicks(box, QString::fromStdString(PgCluster::Shared().ConnectionString(kDatabase)));
        QTest::keyClick(box, Qt::Key_Return);
        QTest::mouseClick(window.findChild<QPushButton*>("cmdQueryType"), Qt::LeftButton);
        const PaintedTexts painted(window.findChild<QLabel*>("stsRunFeedback"));
        QTest::mouseClick(window.findChild<QPushButton*>("cmdRun"), Qt::LeftButton);

        const QString layers = QString::fromStdString(
            PgCluster::Shared().QueryValue(kDatabase, "SELECT count(*) FROM tsl.layers"));
        const QString walk =
            "Running test 9 of 16: LAYERS entries exist as tables or views (0 of " + layers + " rows, 0:00)";
        const QStringList& texts = painted.Texts();
        QVERIFY2(texts.contains(walk), qPrintable(texts.join('\n')));
        // Before and after its walk, a check's line is the designed one.
        const qsizetype at = texts.indexOf(walk);
        QCOMPARE(texts.at(at - 1), "Running test 9 of 16: LAYERS entries exist as tables or views");
        QVERIFY2(texts.at(at + 1).startsWith("Running test 9 of 16: LAYERS entries exist as tables or views"),
                 qPrintable(texts.join('\n')));
        QCOMPARE(texts.back(), "Testing complete.");
        QCOMPARE(QString::fromStdString(state.stsRunFeedback), "Testing complete.");
    }
};

QTEST_MAIN(WindowProgressTest)
#include "window_progress_test.moc"
