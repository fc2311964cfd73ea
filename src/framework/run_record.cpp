// A run that ended early is stopped or an error whatever the tests before gave.
#include "run_record.h"

#include <algorithm>

namespace tabvet {

RunOutcome OutcomeOf(const RunRecord& record) {
    if (record.end == RunEnd::Stopped) {
        return RunOutcome::Stopped;
    }
    if (record.end != RunEnd::Completed) {
        return RunOutcome::Error;
    }
    const bool anyFailed = std::any_of(record.tests.begin(), record.tests.end(), [](const TestOutcome& test) {
        return test.Ran() && test.verdict == Verdict::Failed;
    });
    return anyFailed ? RunOutcome::Failed : RunOutcome::Passed;
}

}  // namespace tabvet
