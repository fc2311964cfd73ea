// The run catches an escaping error only to record it: the error still ends the run where it stands.
#include "test_run.h"

#include <chrono>
#include <exception>

#include "db/line_break.h"
#include "db/runtime_error.h"
#include "findings.h"
#include "local_time.h"

namespace tabvet {
namespace {

constexpr const char* kLogRule = "=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-";  // 42 characters

std::string IsoNow() {
    return IsoLocalTime(std::chrono::system_clock::now());
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// What the test found in the Run just ended, kept in the record beside its verdict.
void TakeFindings(const IAdoTest& test, TestOutcome& outcome) {
    if (const auto* source = dynamic_cast<const FindingSource*>(&test)) {
        outcome.findings = source->Findings().findings;
        outcome.truncated = source->Findings().truncated;
        outcome.examined = source->Findings().examined;
    }
}

std::optional<std::string> StopAskedFor(const RunStop* stop) {
    return stop != nullptr ? stop->Requested() : std::nullopt;
}

// Records a stop: the run ends with it, and the tests that were still to run never started.
void RecordStop(RunRecord& record, std::string why) {
    record.end = RunEnd::Stopped;
    record.stopReason = std::move(why);
    for (TestOutcome& test : record.tests) {
        if (test.notRunReason == NotRunReason::Aborted) {
            test.notRunReason = NotRunReason::Stopped;
        }
    }
}

// Records the test whose Run let `error` escape, and the end of the run with it. A stop asked for while it
// ran is what ended the run: the error is most likely its cancelled statement.
void RecordEscape(RunRecord& record, TestOutcome& outcome, double durationMs, std::string error,
                  const RunStop* stop) {
    outcome = {.verdict = Verdict::Error, .durationMs = durationMs};
    record.end = RunEnd::EscapedError;
    record.error = std::move(error);
    if (std::optional<std::string> why = StopAskedFor(stop)) {
        RecordStop(record, std::move(*why));
    }
    record.finished = IsoNow();
}

}  // namespace

std::optional<NotRunReason> WhyNotRun(const IAdoTest& test, const RunTarget& target) {
    if (!test.Enabled()) {
        return NotRunReason::Disabled;
    }
    if (!test.WorksWithVersion(VersionBoxNumber(target.majorVersion), VersionBoxNumber(target.minorVersion),
                               VersionBoxNumber(target.bugfix))) {
        return NotRunReason::Version;
    }
    if (!WorksWithDbms(test, target.dbms)) {
        return NotRunReason::Dbms;
    }
    return std::nullopt;
}

RunPlan PlanRun(const clsAdoTestCollection& catalogue, const RunTarget& target,
                const CheckSelection& selection) {
    RunPlan plan;
    for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
        plan.notRun.push_back(WhyNotRun(*catalogue.Item(i), target));
        if (!plan.notRun.back() && selection.LeavesOut(i)) {
            plan.notRun.back() = NotRunReason::Deselected;
        }
        if (!plan.notRun.back()) {
            ++plan.toRun;
        }
    }
    return plan;
}

void ExecuteRun(const RunPlan& plan, const clsAdoTestCollection& catalogue, Connection* conn, RunLog& log,
                RunRecord& record, const RunStop* stop) {
    record = RunRecord{};
    record.started = IsoNow();
    for (const std::optional<NotRunReason>& reason : plan.notRun) {
        // A test that is to run counts as aborted until it has run.
        record.tests.push_back({.notRunReason = reason.value_or(NotRunReason::Aborted)});
    }
    log.Append(std::string(kCrLf) + "New Test Run started at " + log.Now() + kCrLf);

    std::int16_t k = 0;
    for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
        if (plan.notRun[static_cast<std::size_t>(i - 1)]) {
            continue;  // silently: no log line, no progress, the test's state left as it was
        }
        if (StopAskedFor(stop)) {
            break;
        }
        IAdoTest& test = *catalogue.Item(i);
        TestOutcome& outcome = record.tests[static_cast<std::size_t>(i - 1)];
        ++k;
        log.Progress("Running test " + std::to_string(k) + " of " + std::to_string(plan.toRun) + ": " +
                     test.Name());
        const auto start = std::chrono::steady_clock::now();
        try {
            test.Run(conn);
        } catch (const RuntimeError& e) {
            RecordEscape(record, outcome, MillisecondsSince(start), DescribeRuntimeError(e), stop);
            TakeFindings(test, outcome);
            throw;
        } catch (const std::exception& e) {
            RecordEscape(record, outcome, MillisecondsSince(start), e.what(), stop);
            TakeFindings(test, outcome);
            throw;
        }
        outcome = {.verdict = test.Pass() ? Verdict::Passed : Verdict::Failed,
                   .durationMs = MillisecondsSince(start)};
        TakeFindings(test, outcome);
        if (outcome.verdict == Verdict::Failed) {
            log.Append(std::string(kCrLf) + kLogRule + kCrLf + "TEST FAILED: " + test.Name() + kCrLf +
                       "Details: " + test.ResultDetails() + kCrLf);
        }
    }
    if (std::optional<std::string> why = StopAskedFor(stop)) {
        log.Append(std::string(kCrLf) + "Test run stopped at " + log.Now() + ": " + *why);
        log.Progress("Testing stopped.");
        RecordStop(record, std::move(*why));
    } else {
        log.Append(std::string(kCrLf) + "Test run finished at " + log.Now());
        log.Progress("Testing complete.");
    }
    record.finished = IsoNow();
}

}  // namespace tabvet
