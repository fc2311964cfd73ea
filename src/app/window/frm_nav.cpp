// Slots forward to the model and then mirror it; no decision is taken here. Widgets are owned by their Qt
// parents.
#include "frm_nav.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSettings>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "db/runtime_error.h"
#include "frm_about.h"
#include "frm_odbc_logon.h"
#include "qt_file_dialog.h"
#include "qt_interaction.h"
#include "session/connection_handling.h"
#include "session/connection_string_box.h"
#include "session/report_step.h"
#include "session/run_step.h"
#include "session/server_type_detection.h"
#include "session/server_type_selection.h"
#include "session/shutdown.h"
#include "session/startup.h"
#include "version_caption.h"
#include "window_icon.h"
#include "window_settings.h"
#include "window_texts.h"

namespace tabvet {
namespace {

// A wrapping label asks for the height of its text at its narrowest width: the layouts of a tab page do not
// pass heights for widths on, and a label squeezed below its text's height pushes the controls under it
// onto each other at the window's minimum size.
QLabel* Instructions(const char* text, QWidget* parent, const char* name) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(name);
    label->setWordWrap(true);
    const int narrowest = label->fontMetrics().averageCharWidth() * 60;
    label->setMinimumSize(narrowest, label->heightForWidth(narrowest));
    return label;
}

QPushButton* Button(const char* caption, QWidget* parent, const char* name) {
    auto* button = new QPushButton(caption, parent);
    button->setObjectName(name);
    return button;
}

// An option button captioned as the DBMS table says; the model decides which one is selected, possibly none.
QRadioButton* OptionButton(DbmsOption option, QWidget* parent, const char* name) {
    auto* button = new QRadioButton(FindDbmsOption(option)->caption, parent);
    button->setObjectName(name);
    button->setAutoExclusive(false);
    return button;
}

// Wide enough for the largest number it takes and for any word of the caption under the boxes.
QLineEdit* NewVersionBox(QWidget* parent, const char* name) {
    auto* box = new QLineEdit(parent);
    box->setObjectName(name);
    const QFontMetrics metrics(box->font());
    int width = std::max(56, metrics.horizontalAdvance("32767") + 16);
    for (const QString& word : QString(window_text::kVersionLabel).split(' ', Qt::SkipEmptyParts)) {
        width = std::max(width, metrics.horizontalAdvance(word) + 12);
    }
    box->setFixedWidth(width);
    return box;
}

// The user input that a busy window must not replay later.
bool IsUserInput(QEvent::Type type) {
    switch (type) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::ShortcutOverride:
        case QEvent::Shortcut:
        case QEvent::Wheel:
        case QEvent::ContextMenu:
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
        case QEvent::Drop:
        case QEvent::Close:
            return true;
        default:
            return false;
    }
}

// The position in characters (not UTF-16 units) of `units` in `text`.
std::size_t CharacterPosition(const QString& text, int units) {
    return static_cast<std::size_t>(QStringView(text).left(units).toUcs4().size());
}

void SetText(QLineEdit* box, const std::string& text) {
    const QString wanted = QString::fromStdString(text);
    if (box->text() != wanted) {
        box->setText(wanted);
    }
}

}  // namespace

frmNav::frmNav(MainState& state, WindowServices services, QWidget* parent)
    : QMainWindow(parent), state_(state), services_(std::move(services)) {
    setObjectName("frmNav");
    setWindowTitle(kApplicationTitle);
    setWindowIcon(ApplicationIcon());
    SSTab1 = new QTabWidget(this);
    SSTab1->setObjectName("SSTab1");
    SSTab1->setUsesScrollButtons(false);  // every tab's caption stays whole, also at the minimum size
    SSTab1->setElideMode(Qt::ElideNone);
    SSTab1->addTab(BuildConnectTab(), window_text::kTabConnect);
    SSTab1->addTab(BuildServerTypeTab(), window_text::kTabServerType);
    SSTab1->addTab(BuildRunTab(), window_text::kTabRun);
    SSTab1->addTab(BuildReportTab(), window_text::kTabReport);
    setCentralWidget(SSTab1);
    stsRunFeedback = new QLabel(this);
    stsRunFeedback->setObjectName("stsRunFeedback");
    statusBar()->setObjectName("stsRunFeedbackBar");
    statusBar()->addWidget(stsRunFeedback, 1);
    stsTarget = new QLabel(this);
    stsTarget->setObjectName("stsTarget");
    statusBar()->addPermanentWidget(stsTarget);
    BuildMenus();

    if (services_.fileDialog == nullptr) {
        ownFileDialog_ = std::make_unique<QtFileDialog>(this);
        services_.fileDialog = ownFileDialog_.get();
    }
    if (services_.editor == nullptr) {
        ownEditor_ = std::make_unique<SpawnEditorLauncher>();
        services_.editor = ownEditor_.get();
    }
    if (services_.logonDialog == nullptr) {
        services_.logonDialog = new frmODBCLogonWindow(this);  // kept loaded between openings
    }
    Wire();
    resize(640, 520);
    qApp->installEventFilter(this);
    state_.AttachView(*this);
}

frmNav::~frmNav() {
    qApp->removeEventFilter(this);
    state_.DetachView(*this);
    while (busyDepth_ > 0) {
        SetBusyPointer(false);
    }
}

QWidget* frmNav::BuildConnectTab() {
    auto* page = new QWidget;
    lblConnectInstructions = Instructions(window_text::kConnectInstructions, page, "lblConnectInstructions");
    auto* frmConnString = new QGroupBox(window_text::kConnStringFrame, page);
    frmConnString->setObjectName("frmConnString");
    txtConnString = new QLineEdit(frmConnString);
    txtConnString->setObjectName("txtConnString");
    auto* frameLayout = new QVBoxLayout(frmConnString);
    frameLayout->addWidget(txtConnString);
    cmdConnect = Button("Connect", page, "cmdConnect");
    cmdBuildString = Button(window_text::kBuildString, page, "cmdBuildString");
    cmdCanned = Button(window_text::kCanned, page, "cmdCanned");
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdConnect);
    buttons->addWidget(cmdBuildString);
    buttons->addWidget(cmdCanned);
    buttons->addStretch();
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(lblConnectInstructions);
    layout->addWidget(frmConnString);
    layout->addLayout(buttons);
    layout->addStretch();
    return page;
}

QWidget* frmNav::BuildServerTypeTab() {
    auto* page = new QWidget;
    lblSettingsInstructions =
        Instructions(window_text::kSettingsInstructions, page, "lblSettingsInstructions");
    auto* frmDBMS = new QGroupBox(window_text::kDbmsFrame, page);
    frmDBMS->setObjectName("frmDBMS");
    optOracle = OptionButton(DbmsOption::Oracle, frmDBMS, "optOracle");
    optInformix = OptionButton(DbmsOption::Informix, frmDBMS, "optInformix");
    optDB2 = OptionButton(DbmsOption::DB2, frmDBMS, "optDB2");
    optSqlServer = OptionButton(DbmsOption::SqlServer, frmDBMS, "optSqlServer");
    auto* dbmsLayout = new QVBoxLayout(frmDBMS);
    for (const auto& [button, option] : OptionButtons()) {
        dbmsLayout->addWidget(button);
    }
    auto* frmTesselVersion = new QGroupBox(window_text::kVersionFrame, page);
    frmTesselVersion->setObjectName("frmTesselVersion");
    txtMajorVersion = NewVersionBox(frmTesselVersion, "txtMajorVersion");
    txtMinorVersion = NewVersionBox(frmTesselVersion, "txtMinorVersion");
    txtBugfix = NewVersionBox(frmTesselVersion, "txtBugfix");
    auto* caption = new VersionCaption(window_text::kVersionLabel, frmTesselVersion);
    lblVersion = caption;
    lblVersion->setObjectName("lblVersion");
    auto* firstDot = new QLabel(".", frmTesselVersion);
    auto* secondDot = new QLabel(".", frmTesselVersion);
    caption->SetColumns({txtMajorVersion, firstDot, txtMinorVersion, secondDot, txtBugfix});
    auto* versionLayout = new QGridLayout(frmTesselVersion);
    versionLayout->addWidget(txtMajorVersion, 0, 0);
    versionLayout->addWidget(firstDot, 0, 1);
    versionLayout->addWidget(txtMinorVersion, 0, 2);
    versionLayout->addWidget(secondDot, 0, 3);
    versionLayout->addWidget(txtBugfix, 0, 4);
    versionLayout->addWidget(lblVersion, 1, 0, 1, 5);
    versionLayout->setColumnStretch(5, 1);
    versionLayout->setRowStretch(2, 1);
    cmdQueryType = Button(window_text::kQueryType, page, "cmdQueryType");
    auto* frames = new QHBoxLayout;
    frames->addWidget(frmDBMS);
    frames->addWidget(frmTesselVersion);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(lblSettingsInstructions);
    layout->addLayout(frames);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdQueryType);
    buttons->addStretch();
    layout->addLayout(buttons);
    layout->addStretch();
    return page;
}

QWidget* frmNav::BuildRunTab() {
    auto* page = new QWidget;
    lblRunInstructions = Instructions(window_text::kRunInstructions, page, "lblRunInstructions");
    cmdRun = Button(window_text::kRun, page, "cmdRun");
    rtbStatus = new QPlainTextEdit(page);
    rtbStatus->setObjectName("rtbStatus");
    rtbStatus->setReadOnly(true);
    rtbStatus->setPlainText("Status Window");  // replaced by start-up
    rtbStatus->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    rtbStatus->setLineWrapMode(QPlainTextEdit::NoWrap);
    cmdClearRunStatus = Button(window_text::kClearRunStatus, page, "cmdClearRunStatus");
    cmdClearRunStatus->setToolTip(window_text::kClearRunStatusTip);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdRun);
    buttons->addStretch();
    buttons->addWidget(cmdClearRunStatus);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(lblRunInstructions);
    layout->addLayout(buttons);
    layout->addWidget(rtbStatus, 1);
    return page;
}

QWidget* frmNav::BuildReportTab() {
    auto* page = new QWidget;
    lblCreateReportNote = Instructions(window_text::kReportNote, page, "lblCreateReportNote");
    chkOnlyReportFailures = new QCheckBox(window_text::kOnlyFailures, page);
    chkOnlyReportFailures->setObjectName("chkOnlyReportFailures");
    cmdCreateReport = Button(window_text::kCreateReport, page, "cmdCreateReport");
    cmdViewReport = Button(window_text::kViewReport, page, "cmdViewReport");
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdCreateReport);
    buttons->addWidget(cmdViewReport);
    buttons->addStretch();
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(lblCreateReportNote);
    layout->addWidget(chkOnlyReportFailures);
    layout->addLayout(buttons);
    layout->addStretch();
    return page;
}

void frmNav::BuildMenus() {
    QMenu* mnuFile = menuBar()->addMenu(window_text::kMenuFile);
    mnuFile->setObjectName("mnuFile");
    QAction* mnuFileExit = mnuFile->addAction(window_text::kMenuExit);
    mnuFileExit->setObjectName("mnuFileExit");
    connect(mnuFileExit, &QAction::triggered, this, [this] { RequestShutdown(); });
    QMenu* mnuHelp = menuBar()->addMenu(window_text::kMenuHelp);
    mnuHelp->setObjectName("mnuHelp");
    QAction* mnuAbout = mnuHelp->addAction(window_text::kMenuAbout);
    mnuAbout->setObjectName("mnuAbout");
    connect(mnuAbout, &QAction::triggered, this, [this] { ShowAbout(); });
}

std::array<std::pair<QLineEdit*, VersionBox>, 3> frmNav::VersionBoxes() const {
    return {{{txtMajorVersion, VersionBox::Major},
             {txtMinorVersion, VersionBox::Minor},
             {txtBugfix, VersionBox::Bugfix}}};
}

std::array<std::pair<QRadioButton*, DbmsOption>, 4> frmNav::OptionButtons() const {
    return {{{optOracle, DbmsOption::Oracle},
             {optInformix, DbmsOption::Informix},
             {optDB2, DbmsOption::DB2},
             {optSqlServer, DbmsOption::SqlServer}}};
}

void frmNav::Wire() {
    connect(txtConnString, &QLineEdit::textEdited, this, [this](const QString& text) {
        const std::size_t cursor = CharacterPosition(text, txtConnString->cursorPosition());
        editingConnString_ = true;
        Guarded([&] { ShownConnectionStringEdited(state_, text.toStdString(), cursor); });
        editingConnString_ = false;
    });
    connect(txtConnString, &QLineEdit::returnPressed, this, [this] {
        if (cmdConnect->isEnabled()) {
            cmdConnect->click();
        }
    });
    connect(cmdConnect, &QPushButton::clicked, this,
            [this] { Guarded([&] { ConnectButtonClick(state_); }); });
    connect(cmdBuildString, &QPushButton::clicked, this,
            [this] { Guarded([&] { BuildStringClick(state_, *services_.logonDialog); }); });
    connect(cmdCanned, &QPushButton::clicked, this, [this] { Guarded([&] { CannedStringClick(state_); }); });

    for (const auto& [button, option] : OptionButtons()) {
        button->installEventFilter(this);
        connect(button, &QRadioButton::clicked, this,
                [this, option = option] { Guarded([&] { OptionClick(state_, option); }); });
    }
    for (const auto& [box, which] : VersionBoxes()) {
        box->installEventFilter(this);
        connect(box, &QLineEdit::textEdited, this, [this, box = box, which = which](const QString& text) {
            const int grown = static_cast<int>(text.size()) - box->property("shown").toString().size();
            const int cursor = box->cursorPosition();
            bool taken = true;
            Guarded([&] { taken = VersionBoxEdited(state_, which, text.toStdString()); });
            if (!taken) {
                box->setCursorPosition(std::max(0, cursor - grown));  // where it was before the refused edit
            }
        });
    }
    connect(cmdQueryType, &QPushButton::clicked, this, [this] { Guarded([&] { QueryDbmsType(state_); }); });

    connect(cmdRun, &QPushButton::clicked, this, [this] {
        Guarded([&] {
            SetBusyPointer(true);
            ProcessRunTests(state_);
        });
    });
    connect(cmdClearRunStatus, &QPushButton::clicked, this,
            [this] { Guarded([&] { ClearRunStatus(state_); }); });

    connect(chkOnlyReportFailures, &QCheckBox::toggled, this,
            [this](bool checked) { state_.chkOnlyReportFailures = checked; });
    connect(cmdCreateReport, &QPushButton::clicked, this,
            [this] { Guarded([&] { CreateNewReport(state_, *services_.fileDialog, *services_.editor); }); });
    connect(cmdViewReport, &QPushButton::clicked, this,
            [this] { Guarded([&] { ViewReportClick(state_, *services_.fileDialog, *services_.editor); }); });
}

bool frmNav::Load() {
    if (!StartUp(state_)) {
        ReleaseProcessObjects(state_);
        shutdownConfirmed_ = true;
        return false;
    }
    if (services_.settings != nullptr) {
        RestoreWindowSettings(*services_.settings, state_, *this);
    }
    Refresh();
    txtConnString->setFocus();
    return true;
}

void frmNav::Refresh() {
    const QSignalBlocker blockConn(txtConnString);
    txtConnString->setEnabled(state_.txtConnStringEnabled);
    ShowConnectionString();
    cmdConnect->setText(QString::fromStdString(state_.cmdConnectCaption));
    cmdConnect->setEnabled(state_.cmdConnectEnabled);
    cmdBuildString->setEnabled(state_.cmdBuildStringEnabled);
    cmdCanned->setEnabled(state_.cmdCannedEnabled);

    for (const auto& [button, option] : OptionButtons()) {
        button->setChecked(state_.selectedDbms == option);
    }
    SetText(txtMajorVersion, state_.txtMajorVersion);
    SetText(txtMinorVersion, state_.txtMinorVersion);
    SetText(txtBugfix, state_.txtBugfix);
    for (const auto& [box, which] : VersionBoxes()) {
        box->setProperty("shown", box->text());  // the text before the user's next edit
    }
    cmdQueryType->setEnabled(state_.cmdQueryTypeEnabled);
    cmdRun->setEnabled(state_.cmdRunEnabled);

    const QSignalBlocker blockCheck(chkOnlyReportFailures);
    chkOnlyReportFailures->setChecked(state_.chkOnlyReportFailures);
    StatusLogChanged();
    StatusBarChanged();
}

void frmNav::StatusLogChanged() {
    const std::string& log = state_.rtbStatus;
    if (log == shownLog_) {
        return;
    }
    if (!shownLog_.empty() && log.size() > shownLog_.size() &&
        log.compare(0, shownLog_.size(), shownLog_) == 0) {
        QTextCursor end(rtbStatus->document());
        end.movePosition(QTextCursor::End);
        end.insertText(Displayed(log.substr(shownLog_.size())));
    } else {
        rtbStatus->setPlainText(Displayed(log));
    }
    shownLog_ = log;
    rtbStatus->verticalScrollBar()->setValue(rtbStatus->verticalScrollBar()->maximum());
    rtbStatus->repaint();  // the run blocks the event loop: paint now so that progress shows
}

void frmNav::StatusBarChanged() {
    stsRunFeedback->setText(QString::fromStdString(StatusBarText(state_)));
    stsRunFeedback->repaint();
    stsTarget->setText(QString::fromStdString(ConnectedTargetText(state_)));
}

// Passwords masked. An edit in the box keeps its cursor; otherwise, and while connected, the string's
// beginning shows, where driver and server are.
void frmNav::ShowConnectionString() {
    const QString shown = QString::fromStdString(ShownConnectionString(state_));
    if (txtConnString->text() != shown) {
        const int cursor = txtConnString->cursorPosition();
        txtConnString->setText(shown);
        txtConnString->setCursorPosition(editingConnString_ ? cursor : 0);
    } else if (!txtConnString->isEnabled()) {
        txtConnString->setCursorPosition(0);
    }
}

void frmNav::SetBusyPointer(bool busy) {
    if (busy) {
        ++busyDepth_;
        busyShown_ = true;
        QApplication::setOverrideCursor(Qt::WaitCursor);
    } else if (busyDepth_ > 0) {
        --busyDepth_;
        QApplication::restoreOverrideCursor();
    }
}

void frmNav::ProcessPendingEvents() {
    QCoreApplication::processEvents();
}

bool frmNav::eventFilter(QObject* watched, QEvent* event) {
    if (IsInputDuringAction(watched, *event)) {
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        for (const auto& [box, which] : VersionBoxes()) {
            if (watched == box && VersionBoxKey(box, key)) {
                return true;
            }
        }
        if (OptionButtonKey(watched, key)) {
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

bool frmNav::VersionBoxKey(QLineEdit* box, const QKeyEvent& key) {
    // Only keys that type a character are filtered; moving the cursor, deleting and the editing shortcuts
    // (paste among them: what it inserts is checked as a whole) stay possible.
    if (key.text().isEmpty() || key.key() == Qt::Key_Delete || key.key() == Qt::Key_Tab ||
        key.key() == Qt::Key_Backtab || (key.modifiers() & (Qt::ControlModifier | Qt::MetaModifier)) != 0) {
        return false;
    }
    const int code = key.key() == Qt::Key_Backspace ? 8 : key.text().at(0).unicode();
    if (code == '.') {  // discarded as any other key, but it leads on to the next box
        const auto boxes = VersionBoxes();
        const auto at =
            std::find_if(boxes.begin(), boxes.end(), [&](const auto& b) { return b.first == box; });
        if (at + 1 != boxes.end()) {
            (at + 1)->first->setFocus(Qt::TabFocusReason);  // selects its text, so typing replaces it
        }
    }
    return !VersionKeyPasses(code);
}

bool frmNav::OptionButtonKey(QObject* button, const QKeyEvent& key) {
    const auto buttons = OptionButtons();
    const auto at =
        std::find_if(buttons.begin(), buttons.end(), [&](const auto& b) { return b.first == button; });
    const bool back = key.key() == Qt::Key_Up || key.key() == Qt::Key_Left;
    const bool forward = key.key() == Qt::Key_Down || key.key() == Qt::Key_Right;
    if (at == buttons.end() || (!back && !forward)) {
        return false;
    }
    const auto target =
        back ? (at == buttons.begin() ? at : at - 1) : (at + 1 == buttons.end() ? at : at + 1);
    target->first->setFocus(Qt::OtherFocusReason);
    Guarded([&, option = target->second] { OptionClick(state_, option); });
    return true;
}

bool frmNav::IsInputDuringAction(QObject* receiver, const QEvent& event) const {
    if (actionDepth_ == 0 || !IsUserInput(event.type()) || !receiver->isWidgetType()) {
        return false;
    }
    return static_cast<const QWidget*>(receiver)->window() == this;
}

void frmNav::DropQueuedInput() {
    QCoreApplication::processEvents(QEventLoop::AllEvents);
}

void frmNav::Guarded(const std::function<void()>& action) {
    if (actionDepth_ == 0) {
        busyShown_ = false;  // the hourglass of start-up or of an earlier action does not count
    }
    ++actionDepth_;
    try {
        action();
    } catch (const RuntimeError& e) {
        state_.Ui().ShowMessage(DescribeRuntimeError(e), kApplicationTitle, MsgButtons::Ok,
                                MsgIcon::Critical);
    } catch (const std::exception& e) {
        // For instance a report file that could not be written completely: the message names file and reason.
        state_.Ui().ShowMessage(e.what(), "Unexpected error", MsgButtons::Ok, MsgIcon::Critical);
    }
    if (actionDepth_ == 1 && busyShown_) {
        DropQueuedInput();  // clicks and keys that arrived during a long action must not act afterwards
        busyShown_ = false;
    }
    --actionDepth_;
    while (busyDepth_ > 0) {
        SetBusyPointer(false);  // an interrupted operation must not leave the hourglass behind
    }
    if (services_.settings != nullptr) {
        StoreSessionSettings(*services_.settings, state_);
    }
    Refresh();
}

void frmNav::RequestShutdown() {
    Guarded([&] {
        ProcessShutdownRequest(state_, [this] {
            shutdownConfirmed_ = true;
            if (services_.settings != nullptr) {
                StoreWindowGeometry(*services_.settings, *this);
            }
            if (services_.endProgram) {
                services_.endProgram();
            }
        });
    });
}

void frmNav::closeEvent(QCloseEvent* event) {
    if (shutdownConfirmed_) {
        event->accept();
        return;
    }
    event->ignore();  // the program ends only when shutdown is confirmed
    RequestShutdown();
}

void frmNav::ShowAbout() {
    frmAbout about(state_.Ui(), services_.sysInfo, this);
    about.exec();
}

}  // namespace tabvet
