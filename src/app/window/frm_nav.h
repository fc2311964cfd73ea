// The main window: four tabs that lead through connect, server type, run and report. It mirrors the
// display-free model and forwards every action to it.
#pragma once

#include <QMainWindow>
#include <array>
#include <functional>
#include <memory>
#include <utility>

#include "session/about_box.h"
#include "session/editor_launcher.h"
#include "session/file_dialog.h"
#include "session/main_state.h"
#include "session/odbc_logon.h"
#include "session/version_box_input.h"

class QCheckBox;
class QKeyEvent;
class QSettings;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QRadioButton;
class QTabWidget;

namespace tabvet {

/// What the window uses besides its model; tests replace the dialogs and the end of the program.
struct WindowServices {
    IFileDialog* fileDialog = nullptr;            ///< null: a QFileDialog
    IEditorLauncher* editor = nullptr;            ///< null: the platform's editor
    LogonDialogPresenter* logonDialog = nullptr;  ///< null: the window's own logon dialog
    SysInfoLocator sysInfo = PlatformSysInfoLocator();
    QSettings* settings = nullptr;     ///< where settings are remembered; null: nothing is
    std::function<void()> endProgram;  ///< called once shutdown is confirmed
};

class frmNav final : public QMainWindow, public MainView {
    Q_OBJECT
  public:
    frmNav(MainState& state, WindowServices services, QWidget* parent = nullptr);
    ~frmNav() override;

    /// Start-up of the window; false when the program must end (the reason has been shown).
    bool Load();

    // MainView
    void StatusLogChanged() override;
    void StatusBarChanged() override;
    void RowCountChanged() override { StatusBarChanged(); }
    void ControlsChanged() override { Refresh(); }
    void SetBusyPointer(bool busy) override;
    void ProcessPendingEvents() override;

  protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QWidget* BuildConnectTab();
    QWidget* BuildServerTypeTab();
    QWidget* BuildRunTab();
    QWidget* BuildReportTab();
    void BuildMenus();
    void Wire();
    void Refresh();
    /// Runs a user action; an error that escapes it is shown and the window stays usable.
    void Guarded(const std::function<void()>& action);
    void RequestShutdown();
    void ShowAbout();
    /// The four option buttons with their options, in the order the window shows them.
    std::array<std::pair<QRadioButton*, DbmsOption>, 4> OptionButtons() const;
    /// The three version boxes with the session's names for them, in order.
    std::array<std::pair<QLineEdit*, VersionBox>, 3> VersionBoxes() const;
    bool VersionBoxKey(QLineEdit* box, const QKeyEvent& key);
    bool OptionButtonKey(QObject* button, const QKeyEvent& key);
    /// True for user input aimed at this window while one of its actions runs: such input is dropped,
    /// never replayed once the action is over.
    bool IsInputDuringAction(QObject* receiver, const QEvent& event) const;
    /// Lets the input that queued up during a long action arrive now, to be dropped.
    void DropQueuedInput();
    void ShowConnectionString();

    MainState& state_;
    WindowServices services_;
    std::unique_ptr<IFileDialog> ownFileDialog_;
    std::unique_ptr<IEditorLauncher> ownEditor_;
    bool shutdownConfirmed_ = false;
    int busyDepth_ = 0;
    int actionDepth_ = 0;                     // Guarded actions under way, nested ones included
    bool busyShown_ = false;                  // the hourglass showed during the current action
    bool editingConnString_ = false;          // the model changes because of an edit in the box
    std::string shownLog_ = "Status Window";  // the log's text before start-up empties it

    QTabWidget* SSTab1;
    QLabel* lblConnectInstructions;
    QLineEdit* txtConnString;
    QPushButton* cmdConnect;
    QPushButton* cmdBuildString;
    QPushButton* cmdCanned;
    QLabel* lblSettingsInstructions;
    QRadioButton* optOracle;
    QRadioButton* optInformix;
    QRadioButton* optDB2;
    QRadioButton* optSqlServer;
    QLineEdit* txtMajorVersion;
    QLineEdit* txtMinorVersion;
    QLineEdit* txtBugfix;
    QLabel* lblVersion;
    QPushButton* cmdQueryType;
    QLabel* lblRunInstructions;
    QPushButton* cmdRun;
    QPlainTextEdit* rtbStatus;
    QPushButton* cmdClearRunStatus;
    QLabel* stsRunFeedback;
    QLabel* stsTarget;
    QLabel* lblCreateReportNote;
    QCheckBox* chkOnlyReportFailures;
    QPushButton* cmdCreateReport;
    QPushButton* cmdViewReport;
};

}  // namespace tabvet
