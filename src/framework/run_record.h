// What a run did with each test of the catalogue: the status log, the exit status and the results file
// read it. New reasons and new ways for a run to end are added here without reshaping it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "findings.h"

namespace tabvet {

/// Why a test of the catalogue did not run in a run.
enum class NotRunReason {
    Disabled,    ///< its Enabled flag is off
    Version,     ///< it does not apply to the Tessel version
    Dbms,        ///< it does not apply to the DBMS
    Aborted,     ///< it applied, but an earlier test ended the run
    Deselected,  ///< it applied, but the user left it out of this run
    Stopped,     ///< it applied, but the run was stopped before it
};

/// How a test that ran came out.
enum class Verdict {
    Passed,
    Failed,
    Error,  ///< it let an unexpected error escape, which ended the run
};

/// One test of one run.
struct TestOutcome {
    std::optional<NotRunReason> notRunReason = std::nullopt;  ///< set when the test did not run: why
    Verdict verdict = Verdict::Failed;                        ///< when it ran
    double durationMs = 0;                                    ///< when it ran: the time spent in Run
    std::vector<Finding> findings = {};                       ///< when it ran: what it found, in order
    bool truncated = false;  ///< when it ran: a report limit stopped it before it had looked at everything
    bool examined = false;   ///< when it ran: it got past its statement on the system tables

    bool Ran() const { return !notRunReason.has_value(); }
};

/// How a run ended.
enum class RunEnd {
    Completed,     ///< every applicable test ran
    EscapedError,  ///< a test let an unexpected error escape, which ended the run there
    Stopped,       ///< a stop was asked for (time limit, signal): the run ended after the test then running
};

/// One run, beside the test objects themselves (which keep verdicts and texts across runs).
struct RunRecord {
    std::string started;             ///< local time, ISO 8601 with milliseconds and offset
    std::string finished;            ///< likewise; when it ended early, the moment it ended
    std::vector<TestOutcome> tests;  ///< by catalogue position: element 0 is position 1
    RunEnd end = RunEnd::Completed;
    std::optional<std::string> error;       ///< the error that ended the run, as the user is told it
    std::optional<std::string> stopReason;  ///< when stopped: why, as the user is told it
};

/// A run as a whole: stopped when a stop ended it, error when an escaping error did, failed when a test
/// that ran failed, else passed.
enum class RunOutcome { Passed, Failed, Error, Stopped };
RunOutcome OutcomeOf(const RunRecord& record);

}  // namespace tabvet
