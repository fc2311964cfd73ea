// Which tests of the real catalogue a run starts for a server type and release: the "of N" a user reads in
// the progress line, and whether the Oracle index analysis runs at all.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>

#include "checks/catalogue.h"
#include "framework/main_state.h"
#include "framework/test_run.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

// The catalogue's names by position, 1 first.
const std::string kNames[] = {
    "Is database running",
    "LAYERS table existence",
    "TABLE_REGISTRY.CONFIG_KEYWORD in DBTUNE",
    "TABLE_REGISTRY entries exist as tables or views",
    "LAYERS in TABLE_REGISTRY",
    "LAYERS in GEOMETRY_COLUMNS",
    "LAYERS.SRID in SPATIAL_REFERENCES",
    "LAYERS.LAYER_CONFIG in DBTUNE",
    "LAYERS entries exist as tables or views",
    "GEOMETRY_COLUMNS in LAYERS",
    "RASTER_COLUMNS in TABLE_REGISTRY",
    "RASTER_COLUMNS.SRID in SPATIAL_REFERENCES",
    "RASTER_COLUMNS.CONFIG_KEYWORD in DBTUNE",
    "RASTER_COLUMNS entries exist as tables or views",
    "GEOMETRY_COLUMNS entries exist as tables or views",
    "Tessel for Oracle Compressed Binary format complete",
};

int PositionOf(const std::string& name) {
    const auto it = std::find(std::begin(kNames), std::end(kNames), name);
    return it == std::end(kNames) ? 0 : static_cast<int>(it - std::begin(kNames)) + 1;
}

TEST(CatalogueRunFilterTest, ServerTypeAndReleaseChooseTheTestsThatRun) {
    struct Case {
        DbmsOption dbms;
        const char* major;
        const char* minor;
        std::set<int> positions;  // positions that run
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
    const clsAdoTestCollection& catalogue = *state.g_pTestCollection;
    for (const Case& c : cases) {
        state.selectedDbms = c.dbms;
        state.txtMajorVersion = c.major;
        state.txtMinorVersion = c.minor;
        state.txtBugfix = "0";
        std::size_t running = 0;
        std::size_t expected = 0;
        for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
            const int position = PositionOf(catalogue.Item(i)->Name());
            ASSERT_NE(position, 0) << catalogue.Item(i)->Name();
            const bool shouldRun = c.positions.contains(position);
            EXPECT_EQ(ShouldRunTest(state, i), shouldRun)
                << c.major << "." << c.minor << " " << kNames[position - 1];
            running += ShouldRunTest(state, i) ? 1 : 0;
            expected += shouldRun ? 1 : 0;
        }
        // With the whole catalogue in place this is the N of "Running test k of N".
        EXPECT_EQ(running, expected);
        if (catalogue.Count() == static_cast<std::int16_t>(std::size(kNames))) {
            EXPECT_EQ(running, c.positions.size()) << c.major << "." << c.minor;
        }
    }
    EXPECT_TRUE(ui.shown.empty());
}

}  // namespace
}  // namespace tabvet
