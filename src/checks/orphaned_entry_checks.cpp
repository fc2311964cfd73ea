// Errors are read from the connection's error list after opens with errors suppressed, never trapped: a
// conversion of a NULL name between the opens ends the whole run, as it always has.
#include "orphaned_entry_checks.h"

#include <cstdint>
#include <string>

#include "db/conn_error_string.h"
#include "db/recordset.h"

namespace tabvet {

/// Which column of a row is probed and how.
enum class ProbedColumn {
    kAlways,    ///< position 0 as it stands; a NULL raises
    kWhenGiven  ///< position 0 trimmed, NULL read as empty; empty means the table alone is probed
};

struct OrphanedEntryCheckRow {
    TestDefinition definition;
    const char* systemTable;
    const char* selectListWithoutDatabase;  // both lists are followed directly by "FROM "
    const char* selectListWithDatabase;
    bool skipsUnnamedTable;  // a row whose qualified name comes back empty is passed over before probing
    ProbedColumn probedColumn;
    const char* selectFailedText;
    const char* emptyTableText;
    const char* passText;
};

namespace {

// Counted in reported errors, not rows; the limit line is written from the same number.
constexpr std::int16_t kReportLimit = 25;

constexpr const char* kErrorLookingFor = "Error looking for ";
constexpr const char* kEntrySeparator = ": ";
constexpr const char* kLimitOpening = "(Report limit (";
constexpr const char* kLimitClosing = ") reached. There may be more errors.)";

const OrphanedEntryCheckRow kOrphLyr{
    .definition = ReferentialIntegrity(
        {.className = "clsTst_OrphLyr",
         .name = "LAYERS entries exist as tables or views",
         .description =
             "Check whether entries in LAYERS table really exist as tables or views with specified columns",
         .worksWithDb2 = true,
         .versionRule = VersionRule::V1}),
    .systemTable = "LAYERS",
    .selectListWithoutDatabase = "SELECT a.spatial_column, a.table_name, a.owner  ",
    .selectListWithDatabase = "SELECT a.spatial_column, a.table_name, a.owner, a.database_name ",
    .skipsUnnamedTable = true,
    .probedColumn = ProbedColumn::kAlways,
    .selectFailedText = "Errors selecting rows from LAYERS table: ",
    .emptyTableText = "No rows in LAYERS table",
    .passText = "All LAYERS entries correspond to real columns in real tables or views",
};

const OrphanedEntryCheckRow kOrphTblReg{
    .definition =
        ReferentialIntegrity({.className = "clsTst_OrphTblReg",
                              .name = "TABLE_REGISTRY entries exist as tables or views",
                              .description = "Check whether entries in TABLE_REGISTRY table really exist as "
                                             "tables or views, and with any specified ROWID_COLUMN",
                              .worksWithDb2 = true,
                              .versionRule = VersionRule::V2}),
    .systemTable = "TABLE_REGISTRY",
    .selectListWithoutDatabase = "SELECT a.rowid_column, a.table_name, a.owner  ",
    .selectListWithDatabase = "SELECT a.rowid_column, a.table_name, a.owner, a.database_name ",
    .skipsUnnamedTable = false,
    .probedColumn = ProbedColumn::kWhenGiven,
    .selectFailedText = "Errors selecting rows from TABLE_REGISTRY table: ",
    .emptyTableText = "No rows in TABLE_REGISTRY table",
    .passText = "All TABLE_REGISTRY entries correspond to real columns in real tables or views",
};

const OrphanedEntryCheckRow kOrphRasCol{
    .definition =
        ReferentialIntegrity({.className = "clsTst_OrphRasCol",
                              .name = "RASTER_COLUMNS entries exist as tables or views",
                              .description = "Check whether entries in RASTER_COLUMNS table really exist as "
                                             "tables or views and has the specified RASTER_COLUMN",
                              .worksWithDb2 = true,
                              .versionRule = VersionRule::V2}),
    .systemTable = "RASTER_COLUMNS",
    .selectListWithoutDatabase = "SELECT a.raster_column, a.table_name, a.owner  ",
    .selectListWithDatabase = "SELECT a.raster_column, a.table_name, a.owner, a.database_name ",
    .skipsUnnamedTable = false,
    .probedColumn = ProbedColumn::kAlways,
    .selectFailedText = "Errors selecting rows from RASTER_COLUMNS table: ",
    .emptyTableText = "No rows in RASTER_COLUMNS table",
    .passText = "All RASTER_COLUMNS entries correspond to real columns in real tables or views",
};

const OrphanedEntryCheckRow kOrphGeomCol{
    .definition =
        ReferentialIntegrity({.className = "clsTst_OrphGeomCol",
                              .name = "GEOMETRY_COLUMNS entries exist as tables or views",
                              .description = "Check whether entries in GEOMETRY_COLUMNS table really exist "
                                             "as tables or views, and with any specified ROWID_COLUMN",
                              .worksWithDb2 = false,
                              .versionRule = VersionRule::V2}),
    .systemTable = "GEOMETRY_COLUMNS",
    .selectListWithoutDatabase = "SELECT a.f_geometry_column, a.f_table_name, a.f_table_schema  ",
    .selectListWithDatabase =
        "SELECT a.f_geometry_column, a.f_table_name, a.f_table_schema, a.f_table_catalog ",
    .skipsUnnamedTable = false,
    .probedColumn = ProbedColumn::kAlways,
    .selectFailedText = "Errors selecting rows from GEOMETRY_COLUMNS table: ",
    .emptyTableText = "No rows in GEOMETRY_COLUMNS table",
    .passText = "All GEOMETRY_COLUMNS entries correspond to real columns in real tables or views",
};

void CloseIfOpen(Recordset& rs) {
    if (rs.State() == Connection::kStateOpen) {
        rs.Close();
    }
}

std::string TrimBlanks(const std::string& text) {
    const auto begin = text.find_first_not_of(' ');
    if (begin == std::string::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

}  // namespace

OrphanedEntryCheck::OrphanedEntryCheck(const OrphanedEntryCheckRow& row, const TestEnvironment& environment)
    : AdoTestBase(row.definition, environment), row_(row) {}

void OrphanedEntryCheck::Run(Connection* conn) {
    if (conn == nullptr) {
        pass_ = false;
        resultDetails_ = common_text::kNoConnection;
        return;
    }
    wasRun_ = true;
    resultDetails_.clear();
    pass_ = true;

    const std::string systemTable = Environment().Namer().TslSystemTable(row_.systemTable);
    if (systemTable.empty()) {
        pass_ = false;
        resultDetails_ = common_text::kCannotTranslateName;
        return;
    }
    const std::string sql =
        std::string(Environment().Namer().UsesDatabaseName() ? row_.selectListWithDatabase
                                                             : row_.selectListWithoutDatabase) +
        "FROM " + systemTable + " a";

    Recordset rows;
    Recordset probe;
    rows.OpenSuppressed(sql, *conn);
    if (conn->Errors().Count() != 0) {
        clsConnErrorString formatter(Environment().Ui());
        resultDetails_ = row_.selectFailedText + std::string(common_text::kCrLf) + formatter.Build(conn);
        pass_ = false;
        conn->Errors().Clear();
        return;
    }
    if (rows.Bof() || rows.Eof()) {
        resultDetails_ = row_.emptyTableText;
        CloseIfOpen(rows);
        return;
    }

    std::int16_t errorCount = 0;
    rows.MoveFirst();
    while (true) {
        if (rows.Eof()) {
            rows.Close();
            if (pass_) {
                resultDetails_ = row_.passText;
            }
            break;
        }
        CloseIfOpen(probe);
        const std::string tableName = ToText(rows.Fields(1));
        const std::string owner = ToText(rows.Fields(2));
        const std::string database =
            Environment().Namer().UsesDatabaseName() ? ToText(rows.Fields(3)) : std::string(kNoDatabaseName);
        const std::string userTable = Environment().Namer().UserTable(tableName, owner, database);

        if (row_.skipsUnnamedTable && userTable.empty()) {
            rows.MoveNext();
            continue;
        }
        std::string probeSql;
        if (row_.probedColumn == ProbedColumn::kWhenGiven) {
            const std::string column = TrimBlanks(TextOrEmpty(rows.Fields(0)));
            probeSql = column.empty() ? Environment().Namer().SqlToFindTable(userTable)
                                      : Environment().Namer().SqlToFindColumn(column, userTable);
        } else {
            probeSql = Environment().Namer().SqlToFindColumn(ToText(rows.Fields(0)), userTable);
        }

        if (!probeSql.empty()) {
            probe.OpenSuppressed(probeSql, *conn);
            if (conn->Errors().Count() >= 1) {
                errorCount = RoundToInt16(errorCount + 1);  // a 16-bit counter: overflow raises
                clsConnErrorString formatter(Environment().Ui());
                resultDetails_ += std::string(common_text::kCrLf) + common_text::kCrLf + kErrorLookingFor +
                                  userTable + kEntrySeparator + formatter.Build(conn);
                pass_ = false;
                if (errorCount >= kReportLimit) {
                    // The entries of this last error stay in the connection's list.
                    resultDetails_ += std::string(common_text::kCrLf) + kLimitOpening +
                                      std::to_string(kReportLimit) + kLimitClosing;
                    break;
                }
                conn->Errors().Clear();
            }
        }
        rows.MoveNext();
    }

    CloseIfOpen(rows);
    CloseIfOpen(probe);
}

clsTst_OrphLyr::clsTst_OrphLyr(const TestEnvironment& environment)
    : OrphanedEntryCheck(kOrphLyr, environment) {}

clsTst_OrphTblReg::clsTst_OrphTblReg(const TestEnvironment& environment)
    : OrphanedEntryCheck(kOrphTblReg, environment) {}

clsTst_OrphRasCol::clsTst_OrphRasCol(const TestEnvironment& environment)
    : OrphanedEntryCheck(kOrphRasCol, environment) {}

clsTst_OrphGeomCol::clsTst_OrphGeomCol(const TestEnvironment& environment)
    : OrphanedEntryCheck(kOrphGeomCol, environment) {}

}  // namespace tabvet
