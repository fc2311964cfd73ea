// The catalogue's order is the run and report order users compare reports by.
#include <gtest/gtest.h>

#include <memory>

#include "checks/catalogue.h"
#include "framework/ado_test_collection.h"
#include "framework/main_state.h"
#include "framework/version_rules.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

struct CatalogueRow {
    const char* name;
    const char* category;
    bool fatal, oracle, sqlServer, informix, db2;
    VersionRule rule;
};

// The catalogue as users know it, position 1 first.
const CatalogueRow kCatalogue[] = {
    {"Is database running", "Environment", true, true, true, true, true, VersionRule::V1},
    {"LAYERS table existence", "Missing system tables", false, true, true, true, true, VersionRule::V1},
    {"TABLE_REGISTRY.CONFIG_KEYWORD in DBTUNE", "Referential Integrity", false, true, true, true, true,
     VersionRule::V3},
    {"TABLE_REGISTRY entries exist as tables or views", "Referential Integrity", false, true, true, true,
     true, VersionRule::V2},
    {"LAYERS in TABLE_REGISTRY", "Referential Integrity", false, true, true, true, true, VersionRule::V2},
    {"LAYERS in GEOMETRY_COLUMNS", "Referential Integrity", false, true, true, true, false, VersionRule::V2},
    {"LAYERS.SRID in SPATIAL_REFERENCES", "Referential Integrity", false, true, true, true, false,
     VersionRule::V1},
    {"LAYERS.LAYER_CONFIG in DBTUNE", "Referential Integrity", false, true, true, true, true,
     VersionRule::V3},
    {"LAYERS entries exist as tables or views", "Referential Integrity", false, true, true, true, true,
     VersionRule::V1},
    {"GEOMETRY_COLUMNS in LAYERS", "Referential Integrity", false, true, true, true, false, VersionRule::V2},
    {"RASTER_COLUMNS in TABLE_REGISTRY", "Referential Integrity", false, true, true, true, true,
     VersionRule::V2},
    {"RASTER_COLUMNS.SRID in SPATIAL_REFERENCES", "Referential Integrity", false, true, true, true, false,
     VersionRule::V1},
    {"RASTER_COLUMNS.CONFIG_KEYWORD in DBTUNE", "Referential Integrity", false, true, true, true, true,
     VersionRule::V3},
    {"RASTER_COLUMNS entries exist as tables or views", "Referential Integrity", false, true, true, true,
     true, VersionRule::V2},
    {"GEOMETRY_COLUMNS entries exist as tables or views", "Referential Integrity", false, true, true, true,
     false, VersionRule::V2},
    {"Tessel for Oracle Compressed Binary format complete", "Index Analysis", false, true, false, false,
     false, VersionRule::V4},
};

// Whether a test accepts exactly the releases of `rule`, probed at the releases where the rules differ.
bool BehavesLike(const IAdoTest& test, VersionRule rule) {
    const std::int16_t probes[][2] = {{3, 0}, {8, 1}, {8, 2}, {9, 0}, {9, 1}, {10, 0}};
    for (const auto& p : probes) {
        const std::int16_t bugfix = 0;
        if (test.WorksWithVersion(p[0], p[1], bugfix) != AcceptsVersion(rule, p[0], p[1], bugfix)) {
            return false;
        }
    }
    return true;
}

TEST(CatalogueTest, HoldsTheTestsInTheirFixedOrderOnEveryWalk) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    const clsAdoTestCollection catalogue(CreateCatalogueTests(state));
    const std::int16_t count = catalogue.Count();
    ASSERT_EQ(static_cast<std::size_t>(count), std::size(kCatalogue));
    for (int walk = 0; walk < 2; ++walk) {
        for (std::int16_t i = 1; i <= count; ++i) {
            const IAdoTest* test = catalogue.Item(i);
            ASSERT_NE(test, nullptr) << i;
            const CatalogueRow& row = kCatalogue[i - 1];
            EXPECT_EQ(test->Name(), row.name) << i;
            EXPECT_EQ(test->Category(), row.category) << i;
            EXPECT_EQ(test->Fatal(), row.fatal) << i;
            EXPECT_EQ(test->WorksWithOracle(), row.oracle) << i;
            EXPECT_EQ(test->WorksWithSqlServer(), row.sqlServer) << i;
            EXPECT_EQ(test->WorksWithInformix(), row.informix) << i;
            EXPECT_EQ(test->WorksWithDB2(), row.db2) << i;
            EXPECT_TRUE(BehavesLike(*test, row.rule)) << i;
            EXPECT_EQ(test->ResultDetails(), "Not Run");
            EXPECT_FALSE(test->Pass());
            EXPECT_FALSE(test->WasRun());
            EXPECT_TRUE(test->Enabled());
        }
    }
    EXPECT_EQ(catalogue.Item(0), nullptr);
    EXPECT_EQ(catalogue.Item(-1), nullptr);
    EXPECT_EQ(catalogue.Item(count + 1), nullptr);
}

TEST(CatalogueTest, EmptyCatalogueHasNoItems) {
    const clsAdoTestCollection empty({});
    EXPECT_EQ(empty.Count(), 0);
    EXPECT_EQ(empty.Item(1), nullptr);
}

}  // namespace
}  // namespace tabvet
