// Which tests of the real catalogue a run starts for a server type and release: the "of N" a user reads in
// the progress line, and whether the Oracle index analysis runs at all.
#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "checks/catalogue.h"
#include "framework/main_state.h"
#include "framework/test_run.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

TEST(CatalogueRunFilterTest, ServerTypeAndReleaseChooseTheTestsThatRun) {
    struct Case {
        DbmsOption dbms;
        const char* major;
        const char* minor;
        std::set<int> positions;  // catalogue positions that run
    };
    const Case cases[] = {
        {DbmsOption::Oracle, "9", "0", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
        // 9.1 keeps the rule-V3 tests 3, 8 and 13 but not the index analysis: 15 run.
        {DbmsOption::Oracle, "9", "1", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {DbmsOption::Oracle, "8", "2", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
        {DbmsOption::Oracle, "8", "1", {1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 14, 15}},
        // DB2 drops 6, 7, 10, 12, 15 and 16 by server type and 3, 8, 13 by release: 7 run.
        {DbmsOption::DB2, "8", "1", {1, 2, 4, 5, 9, 11, 14}},
        {DbmsOption::SqlServer, "9", "0", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {DbmsOption::Informix, "3", "0", {1, 2, 7, 9, 12}},
    };
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    state.g_pTestCollection = std::make_unique<clsAdoTestCollection>(CreateCatalogueTests(state));
    ASSERT_EQ(state.g_pTestCollection->Count(), 16);
    for (const Case& c : cases) {
        state.selectedDbms = c.dbms;
        state.txtMajorVersion = c.major;
        state.txtMinorVersion = c.minor;
        state.txtBugfix = "0";
        std::size_t running = 0;
        for (std::int16_t i = 1; i <= 16; ++i) {
            const bool runs = ShouldRunTest(state, i);
            EXPECT_EQ(runs, c.positions.contains(i)) << c.major << "." << c.minor << " position " << i;
            running += runs ? 1 : 0;
        }
        EXPECT_EQ(running, c.positions.size()) << c.major << "." << c.minor;
    }
    EXPECT_TRUE(ui.shown.empty());
}

}  // namespace
}  // namespace tabvet
