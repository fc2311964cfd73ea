// The cross-table checks as data; the algorithm is membership_check.cpp.
#include "cross_table_checks.h"

namespace tabvet {
namespace {

constexpr const char* kEntryMarker = ">>>> ";

constexpr const char* kLayers = "LAYERS";
constexpr const char* kGeometryColumns = "GEOMETRY_COLUMNS";
constexpr const char* kSpatialReferences = "SPATIAL_REFERENCES";
constexpr const char* kTableRegistry = "TABLE_REGISTRY";
constexpr const char* kRasterColumns = "RASTER_COLUMNS";

// Where each listing's rows hold the values of their findings.
constexpr IdentityColumn kTableOwnerDatabase[] = {
    {IdentityField::Table, 0}, {IdentityField::Owner, 1}, {IdentityField::Database, 2}};
constexpr IdentityColumn kSchemaTableCatalog[] = {
    {IdentityField::Owner, 0}, {IdentityField::Table, 1}, {IdentityField::Database, 2}};
constexpr IdentityColumn kLayerSrid[] = {{IdentityField::LayerId, 0},
                                         {IdentityField::Owner, 1},
                                         {IdentityField::Table, 2},
                                         {IdentityField::Srid, 3}};
constexpr IdentityColumn kRasterColumnSrid[] = {{IdentityField::RasterColumnId, 0},
                                                {IdentityField::Owner, 1},
                                                {IdentityField::Table, 2},
                                                {IdentityField::Srid, 3}};

constexpr const char* kRegistryJoinWithoutDatabase =
    "WHERE a.table_name = b.table_name "
    "and a.owner = b.owner)";
constexpr const char* kRegistryJoinWithDatabase =
    "WHERE a.table_name = b.table_name "
    "and a.owner = b.owner "
    "and a.database_name = b.database_name)";

}  // namespace

const CrossTableChecks kCrossTableChecks{
    .lyrInTblReg = {.outerTable = kLayers,
                    .outerAlias = " a ",
                    .innerTable = kTableRegistry,
                    .innerAlias = " b ",
                    .selectListWithoutDatabase = "SELECT a.table_name, a.owner ",
                    .selectListWithDatabase = "SELECT a.table_name, a.owner, a.database_name ",
                    .joinWithoutDatabase = kRegistryJoinWithoutDatabase,
                    .joinWithDatabase = kRegistryJoinWithDatabase,
                    .headerText = "Some LAYERS entries are not in TABLE_REGISTRY",
                    .passText = "All LAYERS entries have matching entries in TABLE_REGISTRY",
                    .entry = MembershipEntry::RegisteredName,
                    .entryPrefix = kEntryMarker,
                    .idText = "",
                    .loop = MembershipLoop::CountBeforeEntry,
                    .open = OpenStyle::Trapped,
                    .listedKind = FindingKind::OrphanedEntry,
                    .identity = kTableOwnerDatabase},
    .lyrInGeomCol = {.outerTable = kLayers,
                     .outerAlias = " a ",
                     .innerTable = kGeometryColumns,
                     .innerAlias = " b ",
                     .selectListWithoutDatabase = "SELECT a.table_name, a.owner, NULL ",
                     .selectListWithDatabase = "SELECT a.table_name, a.owner, a.database_name ",
                     .joinWithoutDatabase =
                         "WHERE a.owner = b.f_table_schema and a.table_name = b.f_table_name)",
                     .joinWithDatabase =
                         "WHERE a.database_name = b.f_table_catalog and a.owner = b.f_table_schema and "
                         "a.table_name = b.f_table_name)",
                     .headerText = "Some LAYERS entries are not in GEOMETRY_COLUMNS",
                     .passText = "All LAYERS entries have matching entries in GEOMETRY_COLUMNS",
                     .entry = MembershipEntry::QualifiedName,
                     .entryPrefix = kEntryMarker,
                     .idText = "",
                     .loop = MembershipLoop::CountAfterMove,
                     .open = OpenStyle::Trapped,
                     .listedKind = FindingKind::OrphanedEntry,
                     .identity = kTableOwnerDatabase},
    .lyrInSpatRef = {.outerTable = kLayers,
                     .outerAlias = " a ",
                     .innerTable = kSpatialReferences,
                     .innerAlias = " b ",
                     .selectListWithoutDatabase = "SELECT a.layer_id, a.owner, a.table_name, a.srid ",
                     .selectListWithDatabase = "SELECT a.layer_id, a.owner, a.table_name, a.srid ",
                     .joinWithoutDatabase = "WHERE a.srid = b.srid)",
                     .joinWithDatabase = "WHERE a.srid = b.srid)",
                     .headerText = "Some LAYERS.SRID entries are not in SPATIAL_REFERENCES",
                     .passText = "All LAYERS.SRID entries have matching entries in SPATIAL_REFERENCES",
                     .entry = MembershipEntry::Srid,
                     .entryPrefix = ">>>> SRID = ",
                     .idText = " in layer_id #",
                     .loop = MembershipLoop::CountAfterMove,
                     .open = OpenStyle::Trapped,
                     .listedKind = FindingKind::UnknownSpatialReference,
                     .identity = kLayerSrid},
    // The outer table is GEOMETRY_COLUMNS under alias b. Its entry passes the schema as the table name and
    // the table as the owner, so the two parts of a listed name stand in each other's place; kept as it
    // always was. Its findings name each part as what it is.
    .geomColInLyr = {.outerTable = kGeometryColumns,
                     .outerAlias = " b ",
                     .innerTable = kLayers,
                     .innerAlias = " a ",
                     .selectListWithoutDatabase = "SELECT b.f_table_schema, b.f_table_name, NULL ",
                     .selectListWithDatabase = "SELECT b.f_table_schema, b.f_table_name, b.f_table_catalog ",
                     .joinWithoutDatabase =
                         "WHERE a.owner = b.f_table_schema and a.table_name = b.f_table_name)",
                     .joinWithDatabase =
                         "WHERE a.database_name = b.f_table_catalog and a.owner = b.f_table_schema and "
                         "a.table_name = b.f_table_name)",
                     .headerText = "Some GEOMETRY_COLUMNS entries are not in LAYERS",
                     .passText = "All GEOMETRY_COLUMNS entries have matching entries in LAYERS",
                     .entry = MembershipEntry::QualifiedName,
                     .entryPrefix = kEntryMarker,
                     .idText = "",
                     .loop = MembershipLoop::CountAfterMove,
                     .open = OpenStyle::Trapped,
                     .listedKind = FindingKind::OrphanedEntry,
                     .identity = kSchemaTableCatalog},
    .rasColInTblReg = {.outerTable = kRasterColumns,
                       .outerAlias = " a ",
                       .innerTable = kTableRegistry,
                       .innerAlias = " b ",
                       .selectListWithoutDatabase = "SELECT a.table_name, a.owner ",
                       .selectListWithDatabase = "SELECT a.table_name, a.owner, a.database_name ",
                       .joinWithoutDatabase = kRegistryJoinWithoutDatabase,
                       .joinWithDatabase = kRegistryJoinWithDatabase,
                       .headerText = "Some RASTER_COLUMNS entries are not in TABLE_REGISTRY",
                       .passText = "All RASTER_COLUMNS entries have matching entries in TABLE_REGISTRY",
                       .entry = MembershipEntry::RegisteredName,
                       .entryPrefix = kEntryMarker,
                       .idText = "",
                       .loop = MembershipLoop::CountAfterMove,
                       .open = OpenStyle::Trapped,
                       .listedKind = FindingKind::OrphanedEntry,
                       .identity = kTableOwnerDatabase},
    .rasColInSpatRef = {.outerTable = kRasterColumns,
                        .outerAlias = " a ",
                        .innerTable = kSpatialReferences,
                        .innerAlias = " b ",
                        .selectListWithoutDatabase =
                            "SELECT a.RASTERCOLUMN_ID, a.owner, a.table_name, a.srid ",
                        .selectListWithDatabase = "SELECT a.RASTERCOLUMN_ID, a.owner, a.table_name, a.srid ",
                        .joinWithoutDatabase = "WHERE a.srid = b.srid)",
                        .joinWithDatabase = "WHERE a.srid = b.srid)",
                        .headerText = "Some RASTER_COLUMNS.SRID entries are not in SPATIAL_REFERENCES",
                        .passText =
                            "All RASTER_COLUMNS.SRID entries have matching entries in SPATIAL_REFERENCES",
                        .entry = MembershipEntry::Srid,
                        .entryPrefix = ">>>> SRID = ",
                        .idText = " in RASTERCOLUMN_ID #",
                        .loop = MembershipLoop::CountAfterMove,
                        .open = OpenStyle::Trapped,
                        .listedKind = FindingKind::UnknownSpatialReference,
                        .identity = kRasterColumnSrid},
};

}  // namespace tabvet
