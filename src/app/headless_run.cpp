// Start-up, connect, choose the server type, run: exactly the window's steps, reported on the console.
#include "headless_run.h"

#include <chrono>

#include "console_interaction.h"
#include "db/connection_handling.h"
#include "db/runtime_error.h"
#include "db/server_type_detection.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "headless_options.h"
#include "headless_outputs.h"
#include "run_timing.h"
#include "startup.h"

namespace tabvet {
namespace {

bool AnyRunTestFailed(const MainState& state) {
    const clsAdoTestCollection& catalogue = *state.g_pTestCollection;
    for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
        const IAdoTest& test = *catalogue.Item(i);
        if (test.WasRun() && !test.Pass()) {
            return true;
        }
    }
    return false;
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

// The version as the three boxes hold it, for messages about it.
std::string VersionText(const MainState& state) {
    return state.txtMajorVersion + "." + state.txtMinorVersion + "." + state.txtBugfix;
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
    MainState state(ui);
    ConsoleView view(state, out, err);
    state.AttachView(view);
    if (!StartUp(state)) {
        return exit_code::kCannotStart;
    }
    // A version read from a damaged VERSION table may not fit the boxes' 16 bits; the window shows that
    // error in a box, here it is one line and the run does not start.
    try {
        if (!PrepareRun(state, options)) {
            return exit_code::kCannotStart;
        }
    } catch (const RuntimeError& e) {
        err << "tabvet: the run could not start: " << DescribeRuntimeError(e) << " (Tessel version "
            << VersionText(state) << ")" << std::endl;
        return exit_code::kCannotStart;
    }
    RunRecord record;
    RunTimer timer(state, record);
    record.started = IsoLocalTime(std::chrono::system_clock::now());
    int status = exit_code::kAllPassed;
    try {
        ProcessRunTests(state);
        view.FinishLog();
        status = AnyRunTestFailed(state) ? exit_code::kTestFailed : exit_code::kAllPassed;
    } catch (const RuntimeError& e) {
        view.FinishLog();
        record.error = DescribeRuntimeError(e);
        if (!state.g_bTestsWereRun) {
            // Raised while the applicable tests were counted: no test ran.
            err << "tabvet: the run could not start: " << *record.error << " (Tessel version "
                << VersionText(state) << ")" << std::endl;
            return exit_code::kCannotStart;
        }
        // The progress line just before names the test that was running.
        err << "tabvet: a test ended the run with an unexpected error: " << *record.error << std::endl;
        status = exit_code::kEscapedError;
    }
    record.finished = IsoLocalTime(std::chrono::system_clock::now());
    // The run's own status stands even when an output file fails now; the failure is on standard error.
    WriteOutputFiles(state, options, record, err);
    return status;
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
