// The keyword checks list like the cross-table checks, but open with errors suppressed and name each row
// by its keyword and id. The LAYERS member's texts say CONFIG_KEYWORD although it reads layer_config.
#include "keyword_checks.h"

namespace tabvet {
namespace {

constexpr const char* kDbtune = "DBTUNE";
constexpr const char* kKeywordEntryPrefix = ">>>> CONFIG_KEYWORD = ";

// Column 0 is each table's own id; the keyword, table, owner and database follow alike.
constexpr IdentityColumn kRegistrationKeyword[] = {{IdentityField::RegistrationId, 0},
                                                   {IdentityField::Keyword, 1},
                                                   {IdentityField::Table, 2},
                                                   {IdentityField::Owner, 3},
                                                   {IdentityField::Database, 4}};
constexpr IdentityColumn kLayerKeyword[] = {{IdentityField::LayerId, 0},
                                            {IdentityField::Keyword, 1},
                                            {IdentityField::Table, 2},
                                            {IdentityField::Owner, 3},
                                            {IdentityField::Database, 4}};
constexpr IdentityColumn kRasterColumnKeyword[] = {{IdentityField::RasterColumnId, 0},
                                                   {IdentityField::Keyword, 1},
                                                   {IdentityField::Table, 2},
                                                   {IdentityField::Owner, 3},
                                                   {IdentityField::Database, 4}};

}  // namespace

const KeywordChecks kKeywordChecks{
    // The id text says reg_id although registration_id is selected; users know the entries by that text.
    .tblRegInDbtune =
        {.outerTable = "TABLE_REGISTRY",
         .outerAlias = " a ",
         .innerTable = kDbtune,
         .innerAlias = " b ",
         .selectListWithoutDatabase =
             "SELECT a.registration_id, a.config_keyword, a.table_name, a.owner, NULL ",
         .selectListWithDatabase =
             "SELECT a.registration_id, a.config_keyword, a.table_name, a.owner, a.database_name ",
         .joinWithoutDatabase = "WHERE a.config_keyword = b.keyword)",
         .joinWithDatabase = "WHERE a.config_keyword = b.keyword)",
         .headerText = "Some TABLE_REGISTRY.CONFIG_KEYWORD entries are not in DBTUNE",
         .passText = "All TABLE_REGISTRY.CONFIG_KEYWORD entries have matching entries in DBTUNE",
         .entry = MembershipEntry::Keyword,
         .entryPrefix = kKeywordEntryPrefix,
         .idText = " in reg_id #",
         .loop = MembershipLoop::CountAfterMove,
         .open = OpenStyle::ErrorsSuppressed,
         .listedKind = FindingKind::UnknownKeyword,
         .identity = kRegistrationKeyword},
    .lyrInDbtune = {.outerTable = "LAYERS",
                    .outerAlias = " a ",
                    .innerTable = kDbtune,
                    .innerAlias = " b ",
                    .selectListWithoutDatabase =
                        "SELECT a.layer_id, a.layer_config, a.table_name, a.owner, NULL ",
                    .selectListWithDatabase =
                        "SELECT a.layer_id, a.layer_config, a.table_name, a.owner, a.database_name ",
                    .joinWithoutDatabase = "WHERE a.layer_config = b.keyword)",
                    .joinWithDatabase = "WHERE a.layer_config = b.keyword)",
                    .headerText = "Some LAYERS.CONFIG_KEYWORD entries are not in DBTUNE",
                    .passText = "All LAYERS.CONFIG_KEYWORD entries have matching entries in DBTUNE",
                    .entry = MembershipEntry::Keyword,
                    .entryPrefix = kKeywordEntryPrefix,
                    .idText = " in layer_id #",
                    .loop = MembershipLoop::CountAfterMove,
                    .open = OpenStyle::ErrorsSuppressed,
                    .listedKind = FindingKind::UnknownKeyword,
                    .identity = kLayerKeyword},
    .rasColInDbtune =
        {.outerTable = "RASTER_COLUMNS",
         .outerAlias = " a ",
         .innerTable = kDbtune,
         .innerAlias = " b ",
         .selectListWithoutDatabase =
             "SELECT a.rastercolumn_id, a.config_keyword, a.table_name, a.owner, NULL ",
         .selectListWithDatabase =
             "SELECT a.rastercolumn_id, a.config_keyword, a.table_name, a.owner, a.database_name ",
         .joinWithoutDatabase = "WHERE a.config_keyword = b.keyword)",
         .joinWithDatabase = "WHERE a.config_keyword = b.keyword)",
         .headerText = "Some RASTER_COLUMNS.CONFIG_KEYWORD entries are not in DBTUNE",
         .passText = "All RASTER_COLUMNS.CONFIG_KEYWORD entries have matching entries in DBTUNE",
         .entry = MembershipEntry::Keyword,
         .entryPrefix = kKeywordEntryPrefix,
         .idText = " in rastercolumn_id #",
         .loop = MembershipLoop::CountAfterMove,
         .open = OpenStyle::ErrorsSuppressed,
         .listedKind = FindingKind::UnknownKeyword,
         .identity = kRasterColumnKeyword},
};

}  // namespace tabvet
