// A fresh cursor is listed only when it reports end-of-file without begin-of-file. That is the rule these
// checks have always applied, and it is kept although a cursor with rows therefore passes.
#include "cross_table_checks.h"

#include <cstdint>

#include "db/conn_error_string.h"
#include "db/recordset.h"
#include "db/runtime_error.h"

namespace tabvet {
namespace {

constexpr std::int16_t kReportLimit = 5;

constexpr const char* kErrorsPrefix = "Errors: ";
constexpr const char* kEntryMarker = ">>>> ";
constexpr const char* kLimitOpening = "(Report limit (";
constexpr const char* kLimitClosing = ") reached. There may be more errors.)";
constexpr const char* kLimitReachedLine = ">>>> (Report limit reached. There may be others...)";

constexpr const char* kLayers = "LAYERS";
constexpr const char* kGeometryColumns = "GEOMETRY_COLUMNS";
constexpr const char* kSpatialReferences = "SPATIAL_REFERENCES";
constexpr const char* kTableRegistry = "TABLE_REGISTRY";
constexpr const char* kRasterColumns = "RASTER_COLUMNS";

constexpr const char* kRegistryJoinWithoutDatabase =
    "WHERE a.table_name = b.table_name "
    "and a.owner = b.owner)";
constexpr const char* kRegistryJoinWithDatabase =
    "WHERE a.table_name = b.table_name "
    "and a.owner = b.owner "
    "and a.database_name = b.database_name)";

const MembershipCheckRow kLyrInGeomCol{
    .definition =
        ReferentialIntegrity({.className = "clsTst_LyrInGeomCol",
                              .name = "LAYERS in GEOMETRY_COLUMNS",
                              .description = "Check whether entries in LAYERS are also in GEOMETRY_COLUMNS",
                              .worksWithDb2 = false,
                              .versionRule = VersionRule::V2}),
    .outerTable = kLayers,
    .outerAlias = " a ",
    .innerTable = kGeometryColumns,
    .innerAlias = " b ",
    .selectListWithoutDatabase = "SELECT a.table_name, a.owner, NULL ",
    .selectListWithDatabase = "SELECT a.table_name, a.owner, a.database_name ",
    .joinWithoutDatabase = "WHERE a.owner = b.f_table_schema and a.table_name = b.f_table_name)",
    .joinWithDatabase =
        "WHERE a.database_name = b.f_table_catalog and a.owner = b.f_table_schema and "
        "a.table_name = b.f_table_name)",
    .headerText = "Some LAYERS entries are not in GEOMETRY_COLUMNS",
    .passText = "All LAYERS entries have matching entries in GEOMETRY_COLUMNS",
    .entry = MembershipEntry::kQualifiedName,
    .entryPrefix = kEntryMarker,
    .idText = "",
    .loop = MembershipLoop::kCountAfterMove,
    .open = MembershipOpen::kTrapped,
};

// The outer table is GEOMETRY_COLUMNS under alias b. Its entry passes the schema as the table name and the
// table as the owner, so the two parts of a listed name stand in each other's place; kept as it always was.
const MembershipCheckRow kGeomColInLyr{
    .definition =
        ReferentialIntegrity({.className = "clsTst_GeomColInLyr",
                              .name = "GEOMETRY_COLUMNS in LAYERS",
                              .description = "Check whether entries in GEOMETRY_COLUMNS are also in LAYERS",
                              .worksWithDb2 = false,
                              .versionRule = VersionRule::V2}),
    .outerTable = kGeometryColumns,
    .outerAlias = " b ",
    .innerTable = kLayers,
    .innerAlias = " a ",
    .selectListWithoutDatabase = "SELECT b.f_table_schema, b.f_table_name, NULL ",
    .selectListWithDatabase = "SELECT b.f_table_schema, b.f_table_name, b.f_table_catalog ",
    .joinWithoutDatabase = "WHERE a.owner = b.f_table_schema and a.table_name = b.f_table_name)",
    .joinWithDatabase =
        "WHERE a.database_name = b.f_table_catalog and a.owner = b.f_table_schema and "
        "a.table_name = b.f_table_name)",
    .headerText = "Some GEOMETRY_COLUMNS entries are not in LAYERS",
    .passText = "All GEOMETRY_COLUMNS entries have matching entries in LAYERS",
    .entry = MembershipEntry::kQualifiedName,
    .entryPrefix = kEntryMarker,
    .idText = "",
    .loop = MembershipLoop::kCountAfterMove,
    .open = MembershipOpen::kTrapped,
};

const MembershipCheckRow kLyrInSpatRef{
    .definition =
        ReferentialIntegrity({.className = "clsTst_LyrInSpatRef",
                              .name = "LAYERS.SRID in SPATIAL_REFERENCES",
                              .description = "Check whether all SRIDs in LAYERS are in SPATIAL_REFERENCES",
                              .worksWithDb2 = false,
                              .versionRule = VersionRule::V1}),
    .outerTable = kLayers,
    .outerAlias = " a ",
    .innerTable = kSpatialReferences,
    .innerAlias = " b ",
    .selectListWithoutDatabase = "SELECT a.layer_id, a.owner, a.table_name, a.srid ",
    .selectListWithDatabase = "SELECT a.layer_id, a.owner, a.table_name, a.srid ",
    .joinWithoutDatabase = "WHERE a.srid = b.srid)",
    .joinWithDatabase = "WHERE a.srid = b.srid)",
    .headerText = "Some LAYERS.SRID entries are not in SPATIAL_REFERENCES",
    .passText = "All LAYERS.SRID entries have matching entries in SPATIAL_REFERENCES",
    .entry = MembershipEntry::kSrid,
    .entryPrefix = ">>>> SRID = ",
    .idText = " in layer_id #",
    .loop = MembershipLoop::kCountAfterMove,
    .open = MembershipOpen::kTrapped,
};

const MembershipCheckRow kRasColInSpatRef{
    .definition = ReferentialIntegrity(
        {.className = "clsTst_RasColInSpatRef",
         .name = "RASTER_COLUMNS.SRID in SPATIAL_REFERENCES",
         .description = "Check whether all SRIDs in RASTER_COLUMNS are in SPATIAL_REFERENCES",
         .worksWithDb2 = false,
         .versionRule = VersionRule::V1}),
    .outerTable = kRasterColumns,
    .outerAlias = " a ",
    .innerTable = kSpatialReferences,
    .innerAlias = " b ",
    .selectListWithoutDatabase = "SELECT a.RASTERCOLUMN_ID, a.owner, a.table_name, a.srid ",
    .selectListWithDatabase = "SELECT a.RASTERCOLUMN_ID, a.owner, a.table_name, a.srid ",
    .joinWithoutDatabase = "WHERE a.srid = b.srid)",
    .joinWithDatabase = "WHERE a.srid = b.srid)",
    .headerText = "Some RASTER_COLUMNS.SRID entries are not in SPATIAL_REFERENCES",
    .passText = "All RASTER_COLUMNS.SRID entries have matching entries in SPATIAL_REFERENCES",
    .entry = MembershipEntry::kSrid,
    .entryPrefix = ">>>> SRID = ",
    .idText = " in RASTERCOLUMN_ID #",
    .loop = MembershipLoop::kCountAfterMove,
    .open = MembershipOpen::kTrapped,
};

const MembershipCheckRow kLyrInTblReg{
    .definition =
        ReferentialIntegrity({.className = "clsTst_LyrInTblReg",
                              .name = "LAYERS in TABLE_REGISTRY",
                              .description = "Check whether entries in LAYERS exist in TABLE_REGISTRY",
                              .worksWithDb2 = true,
                              .versionRule = VersionRule::V2}),
    .outerTable = kLayers,
    .outerAlias = " a ",
    .innerTable = kTableRegistry,
    .innerAlias = " b ",
    .selectListWithoutDatabase = "SELECT a.table_name, a.owner ",
    .selectListWithDatabase = "SELECT a.table_name, a.owner, a.database_name ",
    .joinWithoutDatabase = kRegistryJoinWithoutDatabase,
    .joinWithDatabase = kRegistryJoinWithDatabase,
    .headerText = "Some LAYERS entries are not in TABLE_REGISTRY",
    .passText = "All LAYERS entries have matching entries in TABLE_REGISTRY",
    .entry = MembershipEntry::kRegisteredName,
    .entryPrefix = kEntryMarker,
    .idText = "",
    .loop = MembershipLoop::kCountBeforeEntry,
    .open = MembershipOpen::kTrapped,
};

const MembershipCheckRow kRasColInTblReg{
    .definition = ReferentialIntegrity(
        {.className = "clsTst_RasColInTblReg",
         .name = "RASTER_COLUMNS in TABLE_REGISTRY",
         .description = "Check whether entries in RASTER_COLUMNS exist in TABLE_REGISTRY",
         .worksWithDb2 = true,
         .versionRule = VersionRule::V2}),
    .outerTable = kRasterColumns,
    .outerAlias = " a ",
    .innerTable = kTableRegistry,
    .innerAlias = " b ",
    .selectListWithoutDatabase = "SELECT a.table_name, a.owner ",
    .selectListWithDatabase = "SELECT a.table_name, a.owner, a.database_name ",
    .joinWithoutDatabase = kRegistryJoinWithoutDatabase,
    .joinWithDatabase = kRegistryJoinWithDatabase,
    .headerText = "Some RASTER_COLUMNS entries are not in TABLE_REGISTRY",
    .passText = "All RASTER_COLUMNS entries have matching entries in TABLE_REGISTRY",
    .entry = MembershipEntry::kRegisteredName,
    .entryPrefix = kEntryMarker,
    .idText = "",
    .loop = MembershipLoop::kCountAfterMove,
    .open = MembershipOpen::kTrapped,
};

// Opens the statement in the member's way; true when it failed (raised, or left errors in the list).
bool OpenFailed(Recordset& rs, const std::string& sql, Connection& conn, MembershipOpen open) {
    if (open == MembershipOpen::kErrorsSuppressed) {
        rs.OpenSuppressed(sql, conn);
        return conn.Errors().Count() > 0;
    }
    try {
        rs.Open(sql, conn);
    } catch (const RuntimeError&) {
        return true;
    }
    return conn.Errors().Count() != 0;
}

}  // namespace

MembershipCheck::MembershipCheck(const MembershipCheckRow& row, const TestEnvironment& environment)
    : AdoTestBase(row.definition, environment), row_(row) {}

std::string MembershipCheck::Entry(const Recordset& rs) const {
    const clsQualDbObjName& namer = Environment().Namer();
    switch (row_.entry) {
        case MembershipEntry::kQualifiedName: {
            const std::string table = ToText(rs.Fields(0));
            const std::string owner = ToText(rs.Fields(1));
            const std::string database = ToText(rs.Fields(2));
            return row_.entryPrefix + namer.UserTable(table, owner, database) + common_text::kCrLf;
        }
        case MembershipEntry::kRegisteredName: {
            const std::string table = ToText(rs.Fields(0));
            const std::string owner = ToText(rs.Fields(1));
            const std::string database = namer.UsesDatabaseName() ? ToText(rs.Fields(2)) : kNoDatabaseName;
            return row_.entryPrefix + namer.UserTable(table, owner, database) + common_text::kCrLf;
        }
        case MembershipEntry::kSrid:
            return row_.entryPrefix + TextOrEmpty(rs.Fields(3)) + row_.idText + TextOrEmpty(rs.Fields(0)) +
                   " : " + TextOrEmpty(rs.Fields(1)) + "." + TextOrEmpty(rs.Fields(2)) + common_text::kCrLf;
        case MembershipEntry::kKeyword: {
            const std::string table = ToText(rs.Fields(2));
            const std::string owner = ToText(rs.Fields(3));
            const std::string database = ToText(rs.Fields(4));
            const std::string userTable = namer.UserTable(table, owner, database);
            return row_.entryPrefix + TextOrEmpty(rs.Fields(1)) + row_.idText + TextOrEmpty(rs.Fields(0)) +
                   " : " + userTable + common_text::kCrLf;
        }
    }
    return {};
}

void MembershipCheck::Run(Connection* conn) {
    if (conn == nullptr) {
        pass_ = false;
        resultDetails_ = common_text::kNoConnection;
        return;
    }
    wasRun_ = true;
    pass_ = false;
    resultDetails_.clear();
    bool verdict = false;

    const std::string outer = Environment().Namer().TslSystemTable(row_.outerTable);
    const std::string inner = Environment().Namer().TslSystemTable(row_.innerTable);
    if (outer.empty() || inner.empty()) {
        resultDetails_ = common_text::kCannotTranslateNames;
        pass_ = verdict;
        return;
    }
    const bool usesDatabaseName = Environment().Namer().UsesDatabaseName();
    const std::string sql =
        std::string(usesDatabaseName ? row_.selectListWithDatabase : row_.selectListWithoutDatabase) +
        "FROM " + outer + row_.outerAlias + "WHERE NOT EXISTS " + "(SELECT 'x' FROM " + inner +
        row_.innerAlias + (usesDatabaseName ? row_.joinWithDatabase : row_.joinWithoutDatabase);

    Recordset rs;
    if (OpenFailed(rs, sql, *conn, row_.open)) {
        clsConnErrorString formatter(Environment().Ui());
        resultDetails_ = kErrorsPrefix + formatter.Build(conn);
    } else {
        const bool bof = rs.Bof();
        const bool eof = rs.Eof();
        if (!bof && eof) {
            List(rs);
        } else {
            verdict = true;
            resultDetails_ = row_.passText;
        }
    }

    if (rs.State() == Connection::kStateOpen) {
        rs.Close();
    }
    pass_ = verdict;
}

void MembershipCheck::List(Recordset& rs) {
    resultDetails_ = row_.headerText + std::string(common_text::kCrLf);
    std::int16_t count = 0;
    rs.MoveFirst();
    while (true) {
        if (rs.Eof()) {
            rs.Close();
            return;
        }
        if (row_.loop == MembershipLoop::kCountBeforeEntry) {
            count = RoundToInt16(count + 1);  // a 16-bit counter: overflow raises
            resultDetails_ += Entry(rs);
            if (count >= kReportLimit) {
                // The cursor stays open for the clean-up to close.
                resultDetails_ += std::string(common_text::kCrLf) + kLimitOpening +
                                  std::to_string(kReportLimit) + kLimitClosing;
                return;
            }
            rs.MoveNext();
        } else {
            resultDetails_ += Entry(rs);
            rs.MoveNext();
            count = RoundToInt16(count + 1);
            if (count >= kReportLimit) {
                // Written even when the limit row was the last; the two moves end the loop at end-of-file.
                resultDetails_ += kLimitReachedLine + std::string(common_text::kCrLf);
                rs.MoveLast();
                rs.MoveNext();
            }
        }
    }
}

clsTst_LyrInGeomCol::clsTst_LyrInGeomCol(const TestEnvironment& environment)
    : MembershipCheck(kLyrInGeomCol, environment) {}

clsTst_GeomColInLyr::clsTst_GeomColInLyr(const TestEnvironment& environment)
    : MembershipCheck(kGeomColInLyr, environment) {}

clsTst_LyrInSpatRef::clsTst_LyrInSpatRef(const TestEnvironment& environment)
    : MembershipCheck(kLyrInSpatRef, environment) {}

clsTst_RasColInSpatRef::clsTst_RasColInSpatRef(const TestEnvironment& environment)
    : MembershipCheck(kRasColInSpatRef, environment) {}

clsTst_LyrInTblReg::clsTst_LyrInTblReg(const TestEnvironment& environment)
    : MembershipCheck(kLyrInTblReg, environment) {}

clsTst_RasColInTblReg::clsTst_RasColInTblReg(const TestEnvironment& environment)
    : MembershipCheck(kRasColInTblReg, environment) {}

}  // namespace tabvet
