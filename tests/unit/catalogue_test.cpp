// The catalogue's order is the run and report order users compare reports by; which of its tests a run
// starts for a server type and release is the "of N" a user reads in the progress line. A wrong version
// rule silently skips or runs a whole group of checks.
#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "checks/catalogue.h"
#include "framework/ado_test_collection.h"
#include "framework/main_state.h"
#include "framework/test_run.h"
#include "framework/version_rules.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

TEST(CatalogueTest, HoldsTheTestsInTheirFixedOrderOnEveryWalk) {
    const std::pair<const char*, const char*> expected[] = {
        {"Is database running", "Environment"},
        {"LAYERS table existence", "Missing system tables"},
        {"TABLE_REGISTRY.CONFIG_KEYWORD in DBTUNE", "Referential Integrity"},
        {"TABLE_REGISTRY entries exist as tables or views", "Referential Integrity"},
        {"LAYERS in TABLE_REGISTRY", "Referential Integrity"},
        {"LAYERS in GEOMETRY_COLUMNS", "Referential Integrity"},
        {"LAYERS.SRID in SPATIAL_REFERENCES", "Referential Integrity"},
        {"LAYERS.LAYER_CONFIG in DBTUNE", "Referential Integrity"},
        {"LAYERS entries exist as tables or views", "Referential Integrity"},
        {"GEOMETRY_COLUMNS in LAYERS", "Referential Integrity"},
        {"RASTER_COLUMNS in TABLE_REGISTRY", "Referential Integrity"},
        {"RASTER_COLUMNS.SRID in SPATIAL_REFERENCES", "Referential Integrity"},
        {"RASTER_COLUMNS.CONFIG_KEYWORD in DBTUNE", "Referential Integrity"},
        {"RASTER_COLUMNS entries exist as tables or views", "Referential Integrity"},
        {"GEOMETRY_COLUMNS entries exist as tables or views", "Referential Integrity"},
        {"Tessel for Oracle Compressed Binary format complete", "Index Analysis"},
    };
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    const clsAdoTestCollection catalogue(CreateCatalogueTests(state));
    const std::int16_t count = catalogue.Count();
    ASSERT_EQ(static_cast<std::size_t>(count), std::size(expected));
    for (int walk = 0; walk < 2; ++walk) {
        for (std::int16_t i = 1; i <= count; ++i) {
            const IAdoTest* test = catalogue.Item(i);
            ASSERT_NE(test, nullptr) << i;
            EXPECT_EQ(test->Name(), expected[i - 1].first) << i;
            EXPECT_EQ(test->Category(), expected[i - 1].second) << i;
            EXPECT_EQ(test->Fatal(), i == 1) << i;
            EXPECT_EQ(test->ResultDetails(), "Not Run");
            EXPECT_FALSE(test->Pass() || test->WasRun() || !test->Enabled()) << i;
        }
    }
    for (const std::int16_t outside : {0, -1, 17}) {
        EXPECT_EQ(catalogue.Item(outside), nullptr) << outside;
    }
    EXPECT_EQ(clsAdoTestCollection({}).Item(1), nullptr);
}

TEST(CatalogueTest, ServerTypeAndReleaseChooseTheTestsThatRun) {
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
        {DbmsOption::Oracle, "8", "1", {1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 14, 15}},
        // DB2 drops 6, 7, 10, 12, 15 and 16 by server type and 3, 8, 13 by release: 7 run.
        {DbmsOption::DB2, "8", "1", {1, 2, 4, 5, 9, 11, 14}},
        {DbmsOption::DB2, "9", "0", {1, 2, 3, 4, 5, 8, 9, 11, 13, 14}},
        {DbmsOption::SqlServer, "9", "0", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {DbmsOption::Informix, "9", "0", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {DbmsOption::Informix, "3", "0", {1, 2, 7, 9, 12}},
    };
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    state.g_pTestCollection = std::make_unique<clsAdoTestCollection>(CreateCatalogueTests(state));
    for (const Case& c : cases) {
        state.selectedDbms = c.dbms;
        state.txtMajorVersion = c.major;
        state.txtMinorVersion = c.minor;
        state.txtBugfix = "0";
        std::set<int> running;
        for (std::int16_t i = 1; i <= 16; ++i) {
            if (ShouldRunTest(state, i)) {
                running.insert(i);
            }
        }
        EXPECT_EQ(running, c.positions) << static_cast<int>(c.dbms) << " " << c.major << "." << c.minor;
    }
    EXPECT_TRUE(ui.shown.empty());
}

TEST(VersionRulesTest, AcceptedReleases) {
    struct Case {
        std::int16_t major, minor, bugfix;
        bool v1, v2, v3, v4;
    };
    const Case cases[] = {
        {8, 1, 0, true, true, false, false},
        {8, 2, 0, true, true, true, true},
        {9, 0, 0, true, true, true, true},
        {9, 1, 0, true, true, true, false},
        {3, 0, 0, true, false, false, false},
        {10, 0, 0, false, false, false, false},
        {7, 9, 9, false, false, false, false},
        // Minor numbers compare signed.
        {8, -1, 0, true, true, false, false},
        {9, -1, 0, true, true, true, false},
        {8, 32767, 0, true, true, true, true},
        {8, -32768, 0, true, true, false, false},
        // Bugfix is used by no rule.
        {9, 0, -5, true, true, true, true},
    };
    for (const Case& c : cases) {
        const auto label =
            std::to_string(c.major) + "." + std::to_string(c.minor) + "." + std::to_string(c.bugfix);
        EXPECT_EQ(AcceptsVersion(VersionRule::V1, c.major, c.minor, c.bugfix), c.v1) << label;
        EXPECT_EQ(AcceptsVersion(VersionRule::V2, c.major, c.minor, c.bugfix), c.v2) << label;
        EXPECT_EQ(AcceptsVersion(VersionRule::V3, c.major, c.minor, c.bugfix), c.v3) << label;
        EXPECT_EQ(AcceptsVersion(VersionRule::V4, c.major, c.minor, c.bugfix), c.v4) << label;
    }
}

}  // namespace
}  // namespace tabvet
