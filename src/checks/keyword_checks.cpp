// The keyword checks list like the cross-table checks, but open with errors suppressed and name each row
// by its keyword and id. The LAYERS member's texts say CONFIG_KEYWORD although it reads layer_config.
#include "keyword_checks.h"

namespace tabvet {
namespace {

constexpr const char* kDbtune = "DBTUNE";
constexpr const char* kKeywordEntryPrefix = ">>>> CONFIG_KEYWORD = ";

const MembershipCheckRow kLyrInDbtune{
    .definition = ReferentialIntegrity(
        {.className = "clsTst_LyrInDbtune",
         .name = "LAYERS.LAYER_CONFIG in DBTUNE",
         .description = "Check whether all LAYER_CONFIG's in LAYERS are in DBTUNE.KEYWORD",
         .worksWithDb2 = true,
         .versionRule = VersionRule::V3}),
    .outerTable = "LAYERS",
    .outerAlias = " a ",
    .innerTable = kDbtune,
    .innerAlias = " b ",
    .selectListWithoutDatabase = "SELECT a.layer_id, a.layer_config, a.table_name, a.owner, NULL ",
    .selectListWithDatabase = "SELECT a.layer_id, a.layer_config, a.table_name, a.owner, a.database_name ",
    .joinWithoutDatabase = "WHERE a.layer_config = b.keyword)",
    .joinWithDatabase = "WHERE a.layer_config = b.keyword)",
    .headerText = "Some LAYERS.CONFIG_KEYWORD entries are not in DBTUNE",
    .passText = "All LAYERS.CONFIG_KEYWORD entries have matching entries in DBTUNE",
    .entry = MembershipEntry::kKeyword,
    .entryPrefix = kKeywordEntryPrefix,
    .idText = " in layer_id #",
    .loop = MembershipLoop::kCountAfterMove,
    .open = MembershipOpen::kErrorsSuppressed,
};

const MembershipCheckRow kRasColInDbtune{
    .definition = ReferentialIntegrity(
        {.className = "clsTst_RasColInDbtune",
         .name = "RASTER_COLUMNS.CONFIG_KEYWORD in DBTUNE",
         .description = "Check whether all CONFIG_KEYWORD's in RASTER_COLUMNS are in DBTUNE.KEYWORD",
         .worksWithDb2 = true,
         .versionRule = VersionRule::V3}),
    .outerTable = "RASTER_COLUMNS",
    .outerAlias = " a ",
    .innerTable = kDbtune,
    .innerAlias = " b ",
    .selectListWithoutDatabase = "SELECT a.rastercolumn_id, a.config_keyword, a.table_name, a.owner, NULL ",
    .selectListWithDatabase =
        "SELECT a.rastercolumn_id, a.config_keyword, a.table_name, a.owner, a.database_name ",
    .joinWithoutDatabase = "WHERE a.config_keyword = b.keyword)",
    .joinWithDatabase = "WHERE a.config_keyword = b.keyword)",
    .headerText = "Some RASTER_COLUMNS.CONFIG_KEYWORD entries are not in DBTUNE",
    .passText = "All RASTER_COLUMNS.CONFIG_KEYWORD entries have matching entries in DBTUNE",
    .entry = MembershipEntry::kKeyword,
    .entryPrefix = kKeywordEntryPrefix,
    .idText = " in rastercolumn_id #",
    .loop = MembershipLoop::kCountAfterMove,
    .open = MembershipOpen::kErrorsSuppressed,
};

// The id text says reg_id although registration_id is selected; users know the entries by that text.
const MembershipCheckRow kTblRegInDbtune{
    .definition = ReferentialIntegrity(
        {.className = "clsTst_TblRegInDbtune",
         .name = "TABLE_REGISTRY.CONFIG_KEYWORD in DBTUNE",
         .description = "Check whether all CONFIG_KEYWORD's in TABLE_REGISTRY are in DBTUNE.KEYWORD",
         .worksWithDb2 = true,
         .versionRule = VersionRule::V3}),
    .outerTable = "TABLE_REGISTRY",
    .outerAlias = " a ",
    .innerTable = kDbtune,
    .innerAlias = " b ",
    .selectListWithoutDatabase = "SELECT a.registration_id, a.config_keyword, a.table_name, a.owner, NULL ",
    .selectListWithDatabase =
        "SELECT a.registration_id, a.config_keyword, a.table_name, a.owner, a.database_name ",
    .joinWithoutDatabase = "WHERE a.config_keyword = b.keyword)",
    .joinWithDatabase = "WHERE a.config_keyword = b.keyword)",
    .headerText = "Some TABLE_REGISTRY.CONFIG_KEYWORD entries are not in DBTUNE",
    .passText = "All TABLE_REGISTRY.CONFIG_KEYWORD entries have matching entries in DBTUNE",
    .entry = MembershipEntry::kKeyword,
    .entryPrefix = kKeywordEntryPrefix,
    .idText = " in reg_id #",
    .loop = MembershipLoop::kCountAfterMove,
    .open = MembershipOpen::kErrorsSuppressed,
};

}  // namespace

clsTst_LyrInDbtune::clsTst_LyrInDbtune(const TestEnvironment& environment)
    : MembershipCheck(kLyrInDbtune, environment) {}

clsTst_RasColInDbtune::clsTst_RasColInDbtune(const TestEnvironment& environment)
    : MembershipCheck(kRasColInDbtune, environment) {}

clsTst_TblRegInDbtune::clsTst_TblRegInDbtune(const TestEnvironment& environment)
    : MembershipCheck(kTblRegInDbtune, environment) {}

}  // namespace tabvet
