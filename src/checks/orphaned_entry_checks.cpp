// Errors are read from the connection's error list after opens with errors suppressed, never trapped: a
// conversion of a NULL name between the opens ends the whole run, as it always has.
#include "orphaned_entry_checks.h"

#include <cstdint>
#include <optional>
#include <string>

#include "db/line_break.h"
#include "db/probes_ahead.h"
#include "db/recordset.h"
#include "framework/ado_test_base.h"
#include "listing_limit.h"

namespace tabvet {

const OrphanedEntryChecks kOrphanedEntryChecks{
    .orphTblReg = {.systemTable = "TABLE_REGISTRY",
                   .selectListWithoutDatabase = "SELECT a.rowid_column, a.table_name, a.owner  ",
                   .selectListWithDatabase = "SELECT a.rowid_column, a.table_name, a.owner, a.database_name ",
                   .skipsUnnamedTable = false,
                   .probedColumn = ProbedColumn::WhenGiven,
                   .selectFailedText = "Errors selecting rows from TABLE_REGISTRY table: ",
                   .emptyTableText = "No rows in TABLE_REGISTRY table",
                   .passText =
                       "All TABLE_REGISTRY entries correspond to real columns in real tables or views"},
    .orphLyr = {.systemTable = "LAYERS",
                .selectListWithoutDatabase = "SELECT a.spatial_column, a.table_name, a.owner  ",
                .selectListWithDatabase = "SELECT a.spatial_column, a.table_name, a.owner, a.database_name ",
                .skipsUnnamedTable = true,
                .probedColumn = ProbedColumn::Always,
                .selectFailedText = "Errors selecting rows from LAYERS table: ",
                .emptyTableText = "No rows in LAYERS table",
                .passText = "All LAYERS entries correspond to real columns in real tables or views"},
    .orphRasCol = {.systemTable = "RASTER_COLUMNS",
                   .selectListWithoutDatabase = "SELECT a.raster_column, a.table_name, a.owner  ",
                   .selectListWithDatabase =
                       "SELECT a.raster_column, a.table_name, a.owner, a.database_name ",
                   .skipsUnnamedTable = false,
                   .probedColumn = ProbedColumn::Always,
                   .selectFailedText = "Errors selecting rows from RASTER_COLUMNS table: ",
                   .emptyTableText = "No rows in RASTER_COLUMNS table",
                   .passText =
                       "All RASTER_COLUMNS entries correspond to real columns in real tables or views"},
    .orphGeomCol = {.systemTable = "GEOMETRY_COLUMNS",
                    .selectListWithoutDatabase =
                        "SELECT a.f_geometry_column, a.f_table_name, a.f_table_schema  ",
                    .selectListWithDatabase =
                        "SELECT a.f_geometry_column, a.f_table_name, a.f_table_schema, a.f_table_catalog ",
                    .skipsUnnamedTable = false,
                    .probedColumn = ProbedColumn::Always,
                    .selectFailedText = "Errors selecting rows from GEOMETRY_COLUMNS table: ",
                    .emptyTableText = "No rows in GEOMETRY_COLUMNS table",
                    .passText =
                        "All GEOMETRY_COLUMNS entries correspond to real columns in real tables or views"},
};

namespace {

// Counted in reported errors, not rows; the limit line is written from the same number.
constexpr std::int16_t kReportLimit = 25;

constexpr const char* kErrorLookingFor = "Error looking for ";
constexpr const char* kEntrySeparator = ": ";

class OrphanedEntryCheck final : public AdoTestBase {
  public:
    OrphanedEntryCheck(const TestDefinition& definition, const OrphanedEntryCheckRow& row,
                       const TestEnvironment& environment)
        : AdoTestBase(definition,
                      {.startText = "",
                       .startsPassing = true,
                       .open = OpenStyle::ErrorsSuppressed,
                       .openFailurePrefix = row.selectFailedText + std::string(kCrLf),
                       .clearsErrorsAfterFailedOpen = true},
                      environment),
          row_(row) {}

  private:
    std::optional<std::string> Statement() override {
        const auto tables = QualifiedNames({row_.systemTable}, common_text::kCannotTranslateName);
        if (!tables) {
            return std::nullopt;
        }
        return std::string(Environment().Namer().UsesDatabaseName() ? row_.selectListWithDatabase
                                                                    : row_.selectListWithoutDatabase) +
               "FROM " + tables->front() + " a";
    }

    void Read(Recordset& rows, Connection& conn) override {
        if (rows.Bof() || rows.Eof()) {
            resultDetails_ = row_.emptyTableText;
            return;
        }
        Recordset probe;
        std::int16_t errorCount = 0;
        WalkProgress progress(Environment(), rows.RecordCount());
        ProbesAhead ahead(Environment().Probes(), conn);
        rows.MoveFirst();
        while (true) {
            if (rows.Eof()) {
                rows.Close();
                if (pass_) {
                    resultDetails_ = row_.passText;
                }
                break;
            }
            progress.Walked(rows.RowIndex());
            QueueAhead(rows, ahead, static_cast<std::size_t>(kReportLimit - errorCount));
            probe.CloseIfOpen();
            const RowProbe planned =
                ProbeOf([&rows](int position) -> const FieldValue& { return rows.Fields(position); });
            if (!planned.sql.empty()) {
                ahead.Enter(rows.RowIndex());
                probe.OpenSuppressed(planned.sql, conn);
                if (conn.Errors().Count() >= 1) {
                    errorCount = RoundToInt16(errorCount + 1);  // a 16-bit counter: overflow raises
                    resultDetails_ += std::string(kCrLf) + kCrLf + kErrorLookingFor + planned.userTable +
                                      kEntrySeparator + ErrorListText(conn);
                    pass_ = false;
                    RecordFinding(KindOfFailure(conn.Errors(), FailedObject::UserObject), EntryIdentity(rows),
                                  ErrorsOf(conn.Errors()));
                    if (errorCount >= kReportLimit) {
                        // The entries of this last error stay in the connection's list.
                        resultDetails_ += std::string(kCrLf) + ReportLimitReached(kReportLimit);
                        rows.MoveNext();
                        if (!rows.Eof()) {
                            MarkTruncated();  // the rows after this one are not probed
                        }
                        break;
                    }
                    conn.Errors().Clear();
                }
            }
            rows.MoveNext();
        }
        probe.CloseIfOpen();
    }

    // What one row asks: the qualified table its result line names and the probe statement, empty when the
    // row is passed over (a table name the namer cannot qualify, a probe it cannot write). The fields are
    // read in the check's order, so that a NULL raises where it always has.
    struct RowProbe {
        std::string userTable;
        std::string sql;
    };
    template <typename FieldOf>
    RowProbe ProbeOf(const FieldOf& field) const {
        const clsQualDbObjName& namer = Environment().Namer();
        const std::string tableName = ToText(field(1));
        const std::string owner = ToText(field(2));
        const std::string database =
            namer.UsesDatabaseName() ? ToText(field(3)) : std::string(kNoDatabaseName);
        RowProbe probe{namer.UserTable(tableName, owner, database), {}};
        if (row_.skipsUnnamedTable && probe.userTable.empty()) {
            return probe;
        }
        if (row_.probedColumn == ProbedColumn::WhenGiven) {
            const std::string column = TrimBlanks(TextOrEmpty(field(0)));
            probe.sql = column.empty() ? namer.SqlToFindTable(probe.userTable)
                                       : namer.SqlToFindColumn(column, probe.userTable);
        } else {
            probe.sql = namer.SqlToFindColumn(ToText(field(0)), probe.userTable);
        }
        return probe;
    }

    // A namer that is not set up answers with a message box, which only the check itself may show.
    bool NamerIsSetUp() const {
        const std::int32_t code = Environment().Namer().DbmsTypeCode();
        return code >= dbtype::kDb2 && code <= dbtype::kSqlServer;
    }

    // Queues the probes of the rows ahead while fewer than `budget` wait: even if every one of them failed,
    // the report limit would be reached no earlier than at the last, so each is a probe the check sends.
    void QueueAhead(const Recordset& rows, ProbesAhead& ahead, std::size_t budget) const {
        ahead.Queue(rows.RowIndex(), NamerIsSetUp() ? rows.RecordCount() : 0, budget,
                    [&](std::size_t row) -> std::optional<ProbeScript> {
                        const RowProbe planned = ProbeOf([&rows, row](int position) -> const FieldValue& {
                            return rows.FieldAt(row, position);
                        });
                        if (planned.sql.empty()) {
                            return std::nullopt;
                        }
                        return [sql = planned.sql](ProbeSender& sender) { sender.Send(sql); };
                    });
    }

    // The row as the system table states it: the column as stored (NULL or blanks included), the database
    // only where the server type selects one.
    FindingIdentity EntryIdentity(const Recordset& rows) const {
        FindingIdentity identity;
        identity.Set(IdentityField::SystemTable, row_.systemTable)
            .Set(IdentityField::Table, rows.Fields(1))
            .Set(IdentityField::Owner, rows.Fields(2))
            .Set(IdentityField::Column, rows.Fields(0));
        if (Environment().Namer().UsesDatabaseName()) {
            identity.Set(IdentityField::Database, rows.Fields(3));
        }
        return identity;
    }

    const OrphanedEntryCheckRow& row_;
};

}  // namespace

std::unique_ptr<IAdoTest> MakeCheck(const TestDefinition& definition, const OrphanedEntryCheckRow& row,
                                    const TestEnvironment& environment) {
    return std::make_unique<OrphanedEntryCheck>(definition, row, environment);
}

}  // namespace tabvet
