// The referential-integrity checks against PostgreSQL through psqlODBC, in the Oracle, DB2 and SQL Server
// layouts: what the orphaned-entry checks probe and report, where they stop, and the whole headless log.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <regex>
#include <sstream>

#include "app/headless_run.h"
#include "checks/cross_table_checks.h"
#include "checks/keyword_checks.h"
#include "checks/orphaned_entry_checks.h"
#include "support/check_environment.h"
#include "support/layouts.h"
#include "support/pg_cluster.h"
#include "support/recording_odbc_connection.h"

namespace tabvet {
namespace {

using testsupport::CheckEnvironment;
using testsupport::Layout;
using testsupport::PgCluster;
using testsupport::RecordingOdbcConnection;

// psqlODBC's message for a relation or column that does not exist.
std::string Missing(const std::string& what) {
    return "ERROR: " + what + " does not exist;\nError while executing the query";
}

bool UsesDatabaseName(Layout layout) {
    return layout != Layout::Oracle;
}
std::string Prefix(Layout layout) {
    return layout == Layout::SqlServer ? "tsl_" : "";
}

const Layout kLayouts[] = {Layout::Oracle, Layout::Db2, Layout::SqlServer};

std::string Upper(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

std::string Database(Layout layout, const std::string& situation) {
    return "refchk_" + situation + "_" + testsupport::LayoutName(layout);
}

// Situations, one database each per layout. The limit test fills the bare one for a while.
const PgCluster& Cluster() {
    static const bool built = [] {
        const std::pair<std::string, std::vector<std::string>> situations[] = {
            {"healthy", {"referential/healthy.sql"}},
            {"orphans", {"referential/healthy.sql", "referential/orphans.sql"}},
            {"bare", {}},
        };
        for (const Layout layout : kLayouts) {
            for (const auto& [situation, files] : situations) {
                // An Oracle database always has its dictionary; the index analysis that runs on 9.0 reads it.
                std::vector<std::string> fixtures = {"referential/user_tables.sql"};
                if (layout == Layout::Oracle) {
                    fixtures.insert(fixtures.begin(), "oracle_dictionary.sql");
                }
                fixtures.insert(fixtures.end(), files.begin(), files.end());
                PgCluster::Shared().CreateDatabase(Database(layout, situation),
                                                   testsupport::LayoutFixtures(layout, fixtures));
            }
        }
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

// How an entry names a user table of schema GIS in this layout.
std::string UserTable(Layout layout, const std::string& database, const std::string& table) {
    return (UsesDatabaseName(layout) ? Upper(database) + "." : std::string()) + "GIS." + table;
}

std::string Entry(Layout layout, const std::string& database, const std::string& table,
                  const std::string& message) {
    return "\r\n\r\nError looking for " + UserTable(layout, database, table) + ": \r\n>>>> Err#1: " + message;
}

using Factory = std::function<std::unique_ptr<IAdoTest>(const TestEnvironment&)>;

template <typename Check>
Factory Make() {
    return [](const TestEnvironment& environment) { return std::make_unique<Check>(environment); };
}

class ReferentialChecks : public ::testing::TestWithParam<Layout> {
  protected:
    Layout layout() const { return GetParam(); }

    // Runs the check made by `make` on a fresh connection to the layout's database of `situation`, with the
    // namer as the window sets it up (DB2 and SQL Server with the database typed in).
    std::unique_ptr<IAdoTest> RunCheck(const Factory& make, const std::string& situation) {
        const std::string database = Database(layout(), situation);
        environment = std::make_unique<CheckEnvironment>(
            testsupport::LayoutTypeCode(layout()),
            UsesDatabaseName(layout()) ? Upper(database) : kNoDatabaseName);
        conn = std::make_unique<RecordingOdbcConnection>();
        EXPECT_TRUE(conn->Open(Cluster().ConnectionString(database)));
        auto test = make(*environment);
        test->Run(conn.get());
        return test;
    }

    std::unique_ptr<CheckEnvironment> environment;
    std::unique_ptr<RecordingOdbcConnection> conn;
};

const std::pair<Factory, const char*> kOrphanChecks[] = {
    {Make<clsTst_OrphLyr>(), "LAYERS"},
    {Make<clsTst_OrphTblReg>(), "TABLE_REGISTRY"},
    {Make<clsTst_OrphRasCol>(), "RASTER_COLUMNS"},
    {Make<clsTst_OrphGeomCol>(), "GEOMETRY_COLUMNS"},
};

// The failure texts of the four orphaned-entry checks on the orphans database, in kOrphanChecks order: LAYERS
// with a missing table and a missing spatial column; TABLE_REGISTRY probing the table for NULL and blank
// rowid_column and the column for a padded one; a missing raster column; a dropped table.
std::vector<std::string> OrphanDetails(Layout l) {
    const std::string db = Database(l, "orphans");
    return {Entry(l, db, "WELLS", Missing("relation \"gis.wells\"")) +
                Entry(l, db, "RIVERS", Missing("column a.shape")),
            Entry(l, db, "WELLS", Missing("relation \"gis.wells\"")) +
                Entry(l, db, "STREETLIGHTS", Missing("relation \"gis.streetlights\"")) +
                Entry(l, db, "RIVERS", Missing("column a.rowid_x")),
            Entry(l, db, "ELEVATION", Missing("column a.raster")),
            Entry(l, db, "PIPES", Missing("relation \"gis.pipes\""))};
}

TEST_P(ReferentialChecks, HealthyOrEmptyTablesPassAndMembershipStatementsAllSucceed) {
    struct Case {
        Factory make;
        std::string situation;
        std::string text;
    };
    std::vector<Case> cases;
    for (const auto& [make, table] : kOrphanChecks) {
        cases.push_back(
            {make, "healthy",
             std::string("All ") + table + " entries correspond to real columns in real tables or views"});
        cases.push_back({make, "bare", std::string("No rows in ") + table + " table"});
    }
    // Only a fresh cursor that reports end-of-file without begin-of-file is listed, and psqlODBC never gives
    // one: every membership check passes, although the orphans database has rows without partners.
    for (const Factory& make :
         {Make<clsTst_LyrInGeomCol>(), Make<clsTst_GeomColInLyr>(), Make<clsTst_LyrInSpatRef>(),
          Make<clsTst_RasColInSpatRef>(), Make<clsTst_LyrInTblReg>(), Make<clsTst_RasColInTblReg>(),
          Make<clsTst_LyrInDbtune>(), Make<clsTst_RasColInDbtune>(), Make<clsTst_TblRegInDbtune>()}) {
        cases.push_back({make, "orphans", ""});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(c.situation + ": " + c.text);
        const auto test = RunCheck(c.make, c.situation);
        EXPECT_TRUE(test->Pass());
        EXPECT_TRUE(test->WasRun());
        if (!c.text.empty()) {
            EXPECT_EQ(test->ResultDetails(), c.text);
        }
        EXPECT_EQ(conn->Errors().Count(), 0);
        if (c.situation != "healthy") {
            EXPECT_EQ(conn->Sent().size(), 1u);  // the row select only
        }
    }
}

// NULL and blank rowid_column probe the table; a padded one its trimmed column.
TEST_P(ReferentialChecks, RowidColumnIsTrimmedAndATableProbeStandsInWhenItIsNullOrBlank) {
    ASSERT_TRUE(RunCheck(Make<clsTst_OrphTblReg>(), "healthy")->Pass());
    const std::string schema =
        (UsesDatabaseName(layout()) ? Upper(Database(layout(), "healthy")) + "." : "") + "GIS.";
    const std::string table = UsesDatabaseName(layout()) ? "SELECT * FROM " : "SELECT COUNT(*) FROM ";
    const std::string column =
        UsesDatabaseName(layout()) ? "SELECT A.OBJECTID FROM " : "SELECT COUNT(A.OBJECTID) FROM ";
    EXPECT_EQ(std::vector<std::string>(conn->Sent().begin() + 1, conn->Sent().end()),
              (std::vector<std::string>{
                  column + schema + "ROADS A WHERE 1 = 2", table + schema + "PARCELS WHERE 1 = 2",
                  table + schema + "MAIN_ROADS WHERE 1 = 2", column + schema + "ORTHOPHOTO A WHERE 1 = 2"}));
}

TEST_P(ReferentialChecks, ListingStopsAtTheTwentyFifthOrphanAndProbesNothingAfterIt) {
    const std::string db = Database(layout(), "bare");
    for (const int orphans : {24, 25, 30}) {
        SCOPED_TRACE(orphans);
        const std::string layers = "tsl." + Prefix(layout()) + "layers";
        Cluster().Execute(db, "DELETE FROM " + layers + "; INSERT INTO " + layers +
                                  " (layer_id, database_name, owner, table_name, spatial_column) SELECT i, "
                                  "upper(current_database()), 'GIS', 'LOST_' || "
                                  "lpad(i::text, 2, '0'), 'SHAPE' "
                                  "FROM generate_series(1, " +
                                  std::to_string(orphans) + ") AS i");
        const auto test = RunCheck(Make<clsTst_OrphLyr>(), "bare");
        const int listed = std::min(orphans, 25);
        std::string expected;
        for (int i = 1; i <= listed; ++i) {
            const std::string number = (i < 10 ? "0" : "") + std::to_string(i);
            expected +=
                Entry(layout(), db, "LOST_" + number, Missing("relation \"gis.lost_" + number + "\""));
        }
        if (orphans >= 25) {
            expected += "\r\n(Report limit (25) reached. There may be more errors.)";
        }
        EXPECT_FALSE(test->Pass());
        EXPECT_EQ(test->ResultDetails(), expected);
        // The row select and one probe per listed row: nothing is probed after the limit's own row.
        ASSERT_EQ(conn->Sent().size(), static_cast<std::size_t>(1 + listed));
        // The errors of the probe that reached the limit stay in the connection's list.
        EXPECT_EQ(conn->Errors().Count(), orphans >= 25 ? 1 : 0);
        Cluster().Execute(db, "DELETE FROM " + layers);  // the empty-table case reads the same database
    }
}

TEST_P(ReferentialChecks, HeadlessRunPrintsTheFailureBlocksOfTheOrphanedEntries) {
    const std::string db = Database(layout(), "orphans");
    std::vector<std::string> args = {"--connect",        Cluster().ConnectionString(db),
                                     "--dbms",           testsupport::LayoutName(layout()),
                                     "--tessel-version", "9.0.0"};
    if (UsesDatabaseName(layout())) {
        args.insert(args.end(), {"--database", db});
    }
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunHeadless(args, out, err), exit_code::kTestFailed) << err.str();

    // The catalogue runs TABLE_REGISTRY's check first; GEOMETRY_COLUMNS's does not run on DB2.
    const std::vector<std::string> details = OrphanDetails(layout());
    std::string expected = "\nNew Test Run started at <now>\n";
    for (const std::size_t i : {1, 0, 2, 3}) {
        if (i != 3 || layout() != Layout::Db2) {
            expected += "\n=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-\nTEST FAILED: " +
                        std::string(kOrphanChecks[i].second) + " entries exist as tables or views" +
                        "\nDetails: " + details[i] + "\n";
        }
    }
    expected += "\nTest run finished at <now>\n";
    // The console drops the CR of each CR LF.
    expected = std::regex_replace(expected, std::regex("\r\n"), "\n");
    const std::string log =
        std::regex_replace(out.str(), std::regex("(started|finished) at [^\n]+\n"), "$1 at <now>\n");
    EXPECT_EQ(log, expected);
}

INSTANTIATE_TEST_SUITE_P(Layouts, ReferentialChecks, ::testing::ValuesIn(kLayouts),
                         [](const ::testing::TestParamInfo<Layout>& info) {
                             return std::string(testsupport::LayoutName(info.param));
                         });

}  // namespace
}  // namespace tabvet
