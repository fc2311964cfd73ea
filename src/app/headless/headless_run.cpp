// Start-up, connect, choose the server type, run: exactly the window's steps, reported on the console.
#include "headless_run.h"

#include <iostream>

#include "app/tabvet_version.h"
#include "connect_source.h"
#include "console_interaction.h"
#include "db/odbc_connection.h"
#include "db/runtime_error.h"
#include "headless_options.h"
#include "headless_outputs.h"
#include "process_text.h"
#include "run_guard.h"
#include "session/connection_handling.h"
#include "session/run_step.h"
#include "session/server_type_detection.h"
#include "session/server_type_selection.h"
#include "session/startup.h"

namespace tabvet {
namespace {

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

// --check and --skip against the catalogue; false after the bad-argument line when an entry names no test.
bool ApplyCheckSelection(MainState& state, const HeadlessOptions& options, std::ostream& err) {
    const clsAdoTestCollection& catalogue = *state.g_pTestCollection;
    const ChosenChecks kept = ChooseChecks(catalogue, options.check, std::nullopt);
    const ChosenChecks chosen = kept.selection ? ChooseChecks(catalogue, options.check, options.skip) : kept;
    if (!chosen.selection) {
        err << "tabvet: " << (kept.selection ? "--skip" : "--check") << ": " << SaidBack(chosen.unknownEntry)
            << " is no position, name or category of a test (see --list-checks)\n"
            << HeadlessUsage();
        return false;
    }
    state.checkSelection = *chosen.selection;
    return true;
}

// Connects and settles the server type. False, with the reason printed, when the run cannot start.
bool PrepareRun(MainState& state, const HeadlessOptions& options) {
    if (options.database) {
        SetSystemTableDatabase(state, *options.database);
    }
    state.chkOnlyReportFailures = options.onlyFailures;
    state.timeouts.loginSeconds = options.loginTimeout.value_or(state.timeouts.loginSeconds);
    state.timeouts.statementSeconds = options.statementTimeout.value_or(state.timeouts.statementSeconds);
    state.jobs = options.jobs.value_or(state.jobs);
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

// The catalogue, one test a line: position, name, category, the DBMSs and the Tessel releases it runs
// with, separated by tabs under a heading line.
int ListChecks(std::ostream& out, std::ostream& err) {
    ConsoleInteraction ui(err);
    MainState state(ui, NewOdbcConnection);
    if (!StartUp(state)) {
        return exit_code::kCannotStart;
    }
    out << "position\tname\tcategory\tdbms\ttessel versions\n";
    for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
        const IAdoTest& test = *state.g_pTestCollection->Item(i);
        std::string dbms;
        for (const DbmsOptionRow& row : DbmsOptions()) {
            if ((test.*row.worksWith)()) {
                dbms += dbms.empty() ? "" : ",";
                dbms += row.word;
            }
        }
        out << i << '\t' << test.Name() << '\t' << test.Category() << '\t' << dbms << '\t'
            << AcceptedVersionsText(test) << '\n';
    }
    return exit_code::kAllPassed;
}

// After a stop: says so and why. Before the run began nothing ran and no file is written.
int Stopped(const MainState& state, std::ostream& err) {
    err << "tabvet: the run was stopped" << (state.g_bTestsWereRun ? "" : " before it began") << ": "
        << state.runStop.Requested().value_or("") << std::endl;
    return exit_code::kStopped;
}

// The baseline named by --baseline, read whole before anything connects; false after saying why it
// cannot serve.
bool ReadBaselineOption(const HeadlessOptions& options, std::optional<Baseline>& baseline,
                        std::ostream& err) {
    if (!options.baseline) {
        return true;
    }
    BaselineRead read = ReadBaselineFile(*options.baseline);
    if (!read.baseline) {
        err << "tabvet: cannot use the baseline '" << *options.baseline << "': " << read.error << std::endl;
        return false;
    }
    baseline = std::move(read.baseline);
    return true;
}

int Run(HeadlessOptions options, std::ostream& out, std::ostream& err, bool errIsTerminal) {
    std::optional<Baseline> baseline;
    if (!CheckOutputFiles(options, err) || !ReadBaselineOption(options, baseline, err)) {
        return exit_code::kCannotStart;
    }
    ConsoleInteraction ui(err);
    MainState state(ui, NewOdbcConnection);
    ConsoleView view(state, out, err, errIsTerminal);
    state.AttachView(view);
    if (!StartUp(state) || !ApplyCheckSelection(state, options, err)) {
        return exit_code::kCannotStart;
    }
    // From here on the time limit counts and a signal stops the run; the guard ends before the model.
    const RunGuard guard(state.runStop, options.timeLimit);
    // A version read from a damaged VERSION table may not fit the boxes' 16 bits; the window shows that
    // error in a box.
    try {
        if (!PrepareRun(state, options)) {
            return state.runStop.Requested() ? Stopped(state, err) : exit_code::kCannotStart;
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
    if (state.lastRun.end == RunEnd::Stopped) {
        Stopped(state, err);
    }
    std::optional<BaselineComparison> comparison;
    if (baseline) {
        comparison = CompareWithBaseline(*baseline, state.lastRun);
    }
    // The run's own status stands even when an output file fails now; the failure is on standard error.
    WriteOutputFiles(state, options, comparison ? &*comparison : nullptr, err);
    if (comparison) {
        err << BaselineSummary(*comparison) << std::endl;
    }
    return ExitStatusOf(state.lastRun, comparison ? &*comparison : nullptr);
}

}  // namespace

int ExitStatusOf(const RunRecord& record, const BaselineComparison* comparison) {
    switch (OutcomeOf(record)) {
        case RunOutcome::Passed:
        case RunOutcome::Failed:
            if (comparison != nullptr) {
                // Only what is new fails the run: known findings are accepted problems.
                return comparison->newFindings > 0 || comparison->failedWithoutFinding
                           ? exit_code::kTestFailed
                           : exit_code::kAllPassed;
            }
            return OutcomeOf(record) == RunOutcome::Failed ? exit_code::kTestFailed : exit_code::kAllPassed;
        case RunOutcome::Error:
            return exit_code::kEscapedError;
        case RunOutcome::Stopped:
            return exit_code::kStopped;
    }
    return exit_code::kEscapedError;
}

int RunHeadless(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                bool errIsTerminal) {
    const std::optional<std::string> fromEnvironment = EnvironmentText(kConnectEnvironmentVariable);
    const ParsedArguments parsed = ParseHeadlessArguments(args, fromEnvironment.has_value());
    if (!parsed.options) {
        err << "tabvet: " << parsed.error << "\n" << HeadlessUsage();
        return exit_code::kCannotStart;
    }
    if (parsed.options->help) {
        out << HeadlessUsage();
        return exit_code::kAllPassed;
    }
    if (parsed.options->version) {
        out << "tabvet " << kVersionText << "\n";
        return exit_code::kAllPassed;
    }
    if (parsed.options->listChecks) {
        return ListChecks(out, err);
    }
    HeadlessOptions options = *parsed.options;
    if (!ResolveConnectionString(options, std::cin, fromEnvironment, err)) {
        return exit_code::kCannotStart;
    }
    return Run(std::move(options), out, err, errIsTerminal);
}

}  // namespace tabvet
