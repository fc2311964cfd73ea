// The catalogue as one table, read top to bottom in run and report order. A row names the test's class
// and gives its identity; its statements and texts are the row of its family's table that it points to.
#include "catalogue.h"

#include <variant>

#include "compressed_binary_index_check.h"
#include "cross_table_checks.h"
#include "environment_checks.h"
#include "keyword_checks.h"
#include "orphaned_entry_checks.h"

namespace tabvet {
namespace {

/// The row of a check family's table that a test runs with; its type chooses the family's algorithm.
using FamilyRow = std::variant<const EnvironmentCheckRow*, const MembershipCheckRow*,
                               const OrphanedEntryCheckRow*, const IndexAnalysisRow*>;

struct CatalogueRow {
    const char* className;
    TestDefinition definition;
    FamilyRow check;
};

using enum VersionRule;
using category::kEnvironment;
using category::kIndexAnalysis;
using category::kMissingSystemTables;
using category::kReferentialIntegrity;

// clang-format off
const CatalogueRow kCatalogue[] = {
    // 1
    {.className = "clsTst_IsDbmsRunning",
     .definition = {.name = "Is database running",
                    .category = kEnvironment,
                    .fatal = true,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V1,
                    .description =
                        "Check whether database is running by checking for the existence of the VERSION "
                        "table"},
     .check = &kEnvironmentChecks.isDbmsRunning},
    // 2
    {.className = "clsTst_LyrTblExists",
     .definition = {.name = "LAYERS table existence",
                    .category = kMissingSystemTables,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V1,
                    .description = "Check whether LAYERS table exists"},
     .check = &kEnvironmentChecks.lyrTblExists},
    // 3
    {.className = "clsTst_TblRegInDbtune",
     .definition = {.name = "TABLE_REGISTRY.CONFIG_KEYWORD in DBTUNE",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V3,
                    .description =
                        "Check whether all CONFIG_KEYWORD's in TABLE_REGISTRY are in DBTUNE.KEYWORD"},
     .check = &kKeywordChecks.tblRegInDbtune},
    // 4
    {.className = "clsTst_OrphTblReg",
     .definition = {.name = "TABLE_REGISTRY entries exist as tables or views",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V2,
                    .description =
                        "Check whether entries in TABLE_REGISTRY table really exist as tables or views, "
                        "and with any specified ROWID_COLUMN"},
     .check = &kOrphanedEntryChecks.orphTblReg},
    // 5
    {.className = "clsTst_LyrInTblReg",
     .definition = {.name = "LAYERS in TABLE_REGISTRY",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V2,
                    .description = "Check whether entries in LAYERS exist in TABLE_REGISTRY"},
     .check = &kCrossTableChecks.lyrInTblReg},
    // 6
    {.className = "clsTst_LyrInGeomCol",
     .definition = {.name = "LAYERS in GEOMETRY_COLUMNS",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = false,
                    .versionRule = V2,
                    .description = "Check whether entries in LAYERS are also in GEOMETRY_COLUMNS"},
     .check = &kCrossTableChecks.lyrInGeomCol},
    // 7
    {.className = "clsTst_LyrInSpatRef",
     .definition = {.name = "LAYERS.SRID in SPATIAL_REFERENCES",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = false,
                    .versionRule = V1,
                    .description = "Check whether all SRIDs in LAYERS are in SPATIAL_REFERENCES"},
     .check = &kCrossTableChecks.lyrInSpatRef},
    // 8
    {.className = "clsTst_LyrInDbtune",
     .definition = {.name = "LAYERS.LAYER_CONFIG in DBTUNE",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V3,
                    .description = "Check whether all LAYER_CONFIG's in LAYERS are in DBTUNE.KEYWORD"},
     .check = &kKeywordChecks.lyrInDbtune},
    // 9
    {.className = "clsTst_OrphLyr",
     .definition = {.name = "LAYERS entries exist as tables or views",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V1,
                    .description =
                        "Check whether entries in LAYERS table really exist as tables or views with "
                        "specified columns"},
     .check = &kOrphanedEntryChecks.orphLyr},
    // 10
    {.className = "clsTst_GeomColInLyr",
     .definition = {.name = "GEOMETRY_COLUMNS in LAYERS",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = false,
                    .versionRule = V2,
                    .description = "Check whether entries in GEOMETRY_COLUMNS are also in LAYERS"},
     .check = &kCrossTableChecks.geomColInLyr},
    // 11
    {.className = "clsTst_RasColInTblReg",
     .definition = {.name = "RASTER_COLUMNS in TABLE_REGISTRY",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V2,
                    .description = "Check whether entries in RASTER_COLUMNS exist in TABLE_REGISTRY"},
     .check = &kCrossTableChecks.rasColInTblReg},
    // 12
    {.className = "clsTst_RasColInSpatRef",
     .definition = {.name = "RASTER_COLUMNS.SRID in SPATIAL_REFERENCES",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = false,
                    .versionRule = V1,
                    .description = "Check whether all SRIDs in RASTER_COLUMNS are in SPATIAL_REFERENCES"},
     .check = &kCrossTableChecks.rasColInSpatRef},
    // 13
    {.className = "clsTst_RasColInDbtune",
     .definition = {.name = "RASTER_COLUMNS.CONFIG_KEYWORD in DBTUNE",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V3,
                    .description =
                        "Check whether all CONFIG_KEYWORD's in RASTER_COLUMNS are in DBTUNE.KEYWORD"},
     .check = &kKeywordChecks.rasColInDbtune},
    // 14
    {.className = "clsTst_OrphRasCol",
     .definition = {.name = "RASTER_COLUMNS entries exist as tables or views",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = true,
                    .versionRule = V2,
                    .description =
                        "Check whether entries in RASTER_COLUMNS table really exist as tables or views "
                        "and has the specified RASTER_COLUMN"},
     .check = &kOrphanedEntryChecks.orphRasCol},
    // 15
    {.className = "clsTst_OrphGeomCol",
     .definition = {.name = "GEOMETRY_COLUMNS entries exist as tables or views",
                    .category = kReferentialIntegrity,
                    .fatal = false,
                    .oracle = true, .sqlServer = true, .informix = true, .db2 = false,
                    .versionRule = V2,
                    .description =
                        "Check whether entries in GEOMETRY_COLUMNS table really exist as tables or views, "
                        "and with any specified ROWID_COLUMN"},
     .check = &kOrphanedEntryChecks.orphGeomCol},
    // 16
    {.className = "clsTst_IdxLyrBinOra",
     .definition = {.name = "Tessel for Oracle Compressed Binary format complete",
                    .category = kIndexAnalysis,
                    .fatal = false,
                    .oracle = true, .sqlServer = false, .informix = false, .db2 = false,
                    .versionRule = V4,
                    .description =
                        "Check whether indexes on Tessel for Oracle compressed binary layer have correct "
                        "indexes. Also checks indexes on ADDs and DELETE tables."},
     .check = &kIdxLyrBinOra},
};
// clang-format on

std::unique_ptr<IAdoTest> Create(const CatalogueRow& row, const TestEnvironment& environment) {
    return std::visit(
        [&](const auto* familyRow) { return MakeCheck(row.definition, *familyRow, environment); }, row.check);
}

}  // namespace

std::vector<std::unique_ptr<IAdoTest>> CreateCatalogueTests(const TestEnvironment& environment) {
    std::vector<std::unique_ptr<IAdoTest>> tests;
    for (const CatalogueRow& row : kCatalogue) {
        tests.push_back(Create(row, environment));
    }
    return tests;
}

std::unique_ptr<IAdoTest> CreateCheck(std::string_view className, const TestEnvironment& environment) {
    for (const CatalogueRow& row : kCatalogue) {
        if (className == row.className) {
            return Create(row, environment);
        }
    }
    return nullptr;
}

}  // namespace tabvet
