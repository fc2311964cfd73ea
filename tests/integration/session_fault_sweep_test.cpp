// Another administrator ends tabvet's server session before each statement of a run in turn: the run
// always finishes and blames exactly the tests from the broken one on. The server itself stays up, so this
// runs beside the other database tests.
#include <gtest/gtest.h>

#include "fault_session.h"

namespace tabvet::faulttest {
namespace {

constexpr const char* kDatabase = "fault_sweep";

TEST(SessionFaultSweep, SessionEndedBeforeEachStatementInTurn) {
    PgCluster::Shared().CreateDatabase(kDatabase, kFaultFixtures);
    const int injected = SweepEveryStatement(kDatabase, EndSession, [] {});
    RecordProperty("faults_injected", injected);
    EXPECT_GT(injected, 40);
}

}  // namespace
}  // namespace tabvet::faulttest
