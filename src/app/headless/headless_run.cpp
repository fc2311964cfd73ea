// Start-up, connect, choose the server type, run: exactly the window's steps, reported on the console.
#include "headless_run.h"

#include "console_interaction.h"
#include "db/odbc_connection.h"
#include "db/runtime_error.h"
#include "headless_options.h"
#include "headless_outputs.h"
#include "session/connection_handling.h"
#include "session/run_step.h"
#include "session/server_type_detection.h"
#include "session/server_type_selection.h"
#include "session/startup.h"

namespace tabvet {
namespace {

// The exit status of a run that ended: the run's own outcome.
int ExitStatusOf(const RunRecord& record) {
    switch (OutcomeOf(record)) {
        case RunOutcome::Passed:
            return exit_code::kAllPassed;
        case RunOutcome::Failed:
            return exit_code::kTestFailed;
        case RunOutcome::Error:
            return exit_code::kEscapedError;
    }
    return exit_code::kEscapedError;
}

// A version that does not fit the boxes' 16 bits: one line, and the run does not start.
int CannotStart(const MainState& state, const RuntimeError& e, std::ostream& err) {
    err << "tabvet: the run could not start: " << DescribeRuntimeError(e) << " (Tessel version "
        << TargetOf(state).VersionText() << ")" << std::endl;
    return exit_code::kCannotStart;
}

// "Query DBMS" when the DBMS or the version was not given. False when it could not supply what is missing;
// its message box has then been printed.
bool DetectMissingServerType(MainState& state, const HeadlessOptions& options) {
    if (options.dbms && options.tesselVersion) {
        return true;
    }
    QueryDbmsType(state);
    const bool dbmsKnown = options.dbms || state.selectedDbms != DbmsOption::None;
    const bool versionKnown = options.tesselVersion || !state.txtMajorVersion.empty();
    return dbmsKnown && versionKnown;
}

// Connects and settles the server type. False, with the reason printed, when the run cannot start.
bool PrepareRun(MainState& state, const HeadlessOptions& options) {
    if (options.database) {
        SetSystemTableDatabase(state, *options.database);
    }
    state.chkOnlyReportFailures = options.onlyFailures;
    ConnectionStringChanged(state, options.connect);
    ConnectToDbms(state);
    if (state.g_pAdoConn == nullptr) {
        return false;
    }
    if (!DetectMissingServerType(state, options)) {
        return false;
    }
    if (options.dbms) {
        OptionClick(state, *options.dbms);
    }
    if (options.tesselVersion) {
        state.txtMajorVersion = (*options.tesselVersion)[0];
        state.txtMinorVersion = (*options.tesselVersion)[1];
        state.txtBugfix = (*options.tesselVersion)[2];
    }
    if (!IsReadyToRun(state)) {
        ProcessRunTests(state);  // shows why it cannot run
        return false;
    }
    return true;
}

int Run(const HeadlessOptions& options, std::ostream& out, std::ostream& err) {
    if (!CheckOutputFiles(options, err)) {
        return exit_code::kCannotStart;
    }
    ConsoleInteraction ui(err);
    MainState state(ui, NewOdbcConnection);
    ConsoleView view(state, out, err);
    state.AttachView(view);
    if (!StartUp(state)) {
        return exit_code::kCannotStart;
    }
    // A version read from a damaged VERSION table may not fit the boxes' 16 bits; the window shows that
    // error in a box.
    try {
        if (!PrepareRun(state, options)) {
            return exit_code::kCannotStart;
        }
    } catch (const RuntimeError& e) {
        return CannotStart(state, e, err);
    }
    try {
        ProcessRunTests(state);
        view.FinishLog();
    } catch (const RuntimeError& e) {
        view.FinishLog();
        if (!state.g_bTestsWereRun) {
            return CannotStart(state, e, err);  // raised while the applicable tests were counted
        }
        // The progress line just before names the test that was running.
        err << "tabvet: a test ended the run with an unexpected error: " << DescribeRuntimeError(e)
            << std::endl;
    }
    // The run's own status stands even when an output file fails now; the failure is on standard error.
    WriteOutputFiles(state, options, err);
    return ExitStatusOf(state.lastRun);
}

}  // namespace

int RunHeadless(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const ParsedArguments parsed = ParseHeadlessArguments(args);
    if (!parsed.options) {
        err << "tabvet: " << parsed.error << "\n" << HeadlessUsage();
        return exit_code::kCannotStart;
    }
    if (parsed.options->help) {
        out << HeadlessUsage();
        return exit_code::kAllPassed;
    }
    if (parsed.options->version) {
        out << "tabvet " << TABVET_VERSION << "\n";
        return exit_code::kAllPassed;
    }
    return Run(*parsed.options, out, err);
}

}  // namespace tabvet
