// The run: which tests of the catalogue apply to a target, running them in catalogue order on the
// connection, the status log and progress lines it writes, and the record of what it did.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ado_test_collection.h"
#include "check_selection.h"
#include "db/connection.h"
#include "run_record.h"
#include "run_stop.h"
#include "run_target.h"

namespace tabvet {

/// Where a run writes as it goes: the status log and the progress panel.
class RunLog {
  public:
    virtual ~RunLog() = default;
    /// Appends `text` to the status log and shows it at once.
    virtual void Append(const std::string& text) = 0;
    /// Replaces the progress text.
    virtual void Progress(const std::string& text) = 0;
    /// The local date and time as the log shows it.
    virtual std::string Now() const = 0;
};

/// Why `test` stays out of a run at `target`, asked in this order: disabled, version, DBMS; nothing when it
/// runs. The version boxes are converted only for an enabled test; that can raise "Overflow".
std::optional<NotRunReason> WhyNotRun(const IAdoTest& test, const RunTarget& target);

/// Which tests a run starts and why the others stay out.
struct RunPlan {
    std::vector<std::optional<NotRunReason>> notRun;  ///< by catalogue position: element 0 is position 1
    std::int16_t toRun = 0;                           ///< the tests that run
};

/// Plans a run of `catalogue` at `target`; a test that would run but `selection` leaves out is deselected.
/// Raises as WhyNotRun does; nothing has happened then.
RunPlan PlanRun(const clsAdoTestCollection& catalogue, const RunTarget& target,
                const CheckSelection& selection = {});

/// Runs the planned tests in catalogue order on `conn`, with a progress line before each and a failure block
/// in the log after each that failed, between the log's start and finish lines. `record` is filled as the
/// run goes: an error that escapes a test is recorded, then ends the run at once (without the closing lines)
/// by propagating to the caller. When `stop` asks for it, the run ends after the test then running, with
/// a closing line that says why; the tests it did not reach are recorded as stopped.
void ExecuteRun(const RunPlan& plan, const clsAdoTestCollection& catalogue, Connection* conn, RunLog& log,
                RunRecord& record, const RunStop* stop = nullptr);

}  // namespace tabvet
