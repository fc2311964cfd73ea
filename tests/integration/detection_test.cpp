// "Query DBMS" against the real driver: which naming style reads VERSION in each layout, how the
// description decides the type, and the messages when nothing usable is found.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "db/connection_handling.h"
#include "db/recordset.h"
#include "db/server_type_detection.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/tracing_connection.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;
using testsupport::RecordingInteraction;
using testsupport::TracingConnection;

constexpr const char* kDb2Database = "detect6_db2";
constexpr const char* kOracleDatabase = "detect6_ora";
constexpr const char* kSqlServerDatabase = "detect6_mss";
constexpr const char* kDescriptionDatabase = "detect6_desc";
constexpr const char* kFailureDatabase = "detect6_fail";
constexpr const char* kBareDatabase = "detect6_bare";

constexpr const char* kUnableText = "Unexpected Condition: Unable to determine type of database. Sorry.";
constexpr const char* kCannotParseText =
    "Cannot parse DBMS description: Cannot determine DBMS type.  Please select it manually.";

std::string VersionRow(const std::string& description) {
    return "INSERT INTO tsl.version (major, minor, bugfix, release, description) VALUES (9, 1, 2, 0, '" +
           description + "')";
}

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase(kDb2Database, {"tessel_schema.sql"});
        pg.Execute(kDb2Database, VersionRow("Tessel 9.1 for IBM DB2 UDB"));
        pg.CreateDatabase(kOracleDatabase, {"tessel_schema.sql"});
        pg.Execute(kOracleDatabase, VersionRow("Tessel 9.1 for Oracle9i"));
        pg.CreateDatabase(kSqlServerDatabase, {"tessel_schema.sql", "layout_sqlserver.sql"});
        pg.Execute(kSqlServerDatabase,
                   "INSERT INTO tsl.tsl_version VALUES (9, 1, 2, 0, "
                   "'Tessel 9.1 for Microsoft SQL Server 2000')");
        pg.CreateDatabase(kDescriptionDatabase, {"tessel_schema.sql"});
        pg.Execute(kDescriptionDatabase, VersionRow("to be replaced by each case"));
        pg.CreateDatabase(kFailureDatabase, {"tessel_schema.sql"});
        pg.CreateDatabase(kBareDatabase, {});
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

std::string Probe(const std::string& qualifiedName) {
    return "SELECT major, minor, bugfix, release, description FROM " + qualifiedName;
}

class Detection : public ::testing::Test {
  protected:
    Detection() : state(ui) {
        state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
        state.g_cConnErrStr = std::make_unique<clsConnErrorString>(ui);
        state.newConnection = [] { return std::make_unique<TracingConnection>(); };
    }

    // Connects as the window does, with `systemDatabase` as typed into the logon dialog.
    void Connect(const std::string& database, const std::string& systemDatabase) {
        ConnectionStringChanged(state, Cluster().ConnectionString(database));
        SetSystemTableDatabase(state, systemDatabase);
        ConnectToDbms(state);
        ASSERT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
    }

    // What a user left in the step before pressing "Query DBMS": detection must not keep any of it.
    void EarlierChoice() {
        state.selectedDbms = DbmsOption::Informix;
        state.txtMajorVersion = "7";
        state.txtMinorVersion = "7";
        state.txtBugfix = "7";
    }

    const std::vector<std::string>& Sent() const {
        return static_cast<const TracingConnection&>(*state.g_pAdoConn).Sent();
    }

    void ExpectBoxes(const char* major, const char* minor, const char* bugfix) const {
        EXPECT_EQ(state.txtMajorVersion, major);
        EXPECT_EQ(state.txtMinorVersion, minor);
        EXPECT_EQ(state.txtBugfix, bugfix);
    }

    RecordingInteraction ui;
    MainState state;
};

struct LayoutCase {
    const char* label;
    const char* database;
    const char* systemDatabase;  // as typed into the logon dialog
    std::vector<std::string> probes;
    DbmsOption option;
    std::int32_t code;
    const char* layersName;
};

const LayoutCase kLayoutCases[] = {
    {"DB2 layout: the first style reads it",
     kDb2Database,
     "detect6_db2",
     {Probe("DETECT6_DB2.TSL.VERSION")},
     DbmsOption::DB2,
     dbtype::kDb2,
     "DETECT6_DB2.TSL.LAYERS"},
    {"Oracle layout without a database: only the Oracle style reads it",
     kOracleDatabase,
     "",
     {Probe(".TSL.VERSION"), Probe(":TSL.VERSION"), Probe("TSL.VERSION")},
     DbmsOption::Oracle,
     dbtype::kOracle,
     "TSL.LAYERS"},
    {"Oracle layout with another database named: only the Oracle style reads it",
     kOracleDatabase,
     "elsewhere",
     {Probe("ELSEWHERE.TSL.VERSION"), Probe("ELSEWHERE:TSL.VERSION"), Probe("TSL.VERSION")},
     DbmsOption::Oracle,
     dbtype::kOracle,
     "TSL.LAYERS"},
    {"SQL Server layout: only the last style reads it",
     kSqlServerDatabase,
     "detect6_mss",
     {Probe("DETECT6_MSS.TSL.VERSION"), Probe("DETECT6_MSS:TSL.VERSION"), Probe("TSL.VERSION"),
      Probe("DETECT6_MSS.TSL.tsl_VERSION")},
     DbmsOption::SqlServer,
     dbtype::kSqlServer,
     "DETECT6_MSS.TSL.tsl_LAYERS"},
};

TEST_F(Detection, EachLayoutIsFoundByItsNamingStyle) {
    for (const LayoutCase& c : kLayoutCases) {
        SCOPED_TRACE(c.label);
        ui.shown.clear();
        Connect(c.database, c.systemDatabase);
        EarlierChoice();

        QueryDbmsType(state);

        EXPECT_EQ(Sent(), c.probes);
        EXPECT_TRUE(ui.shown.empty()) << testing::PrintToString(ui.Lines());
        EXPECT_EQ(state.selectedDbms, c.option);
        EXPECT_EQ(state.g_QDON->DbmsTypeCode(), c.code);
        ExpectBoxes("9", "1", "2");
        // The namer is left ready for the tests: LAYERS resolves on the real server.
        EXPECT_EQ(state.g_QDON->TslSystemTable("LAYERS"), c.layersName);
        Recordset rs;
        EXPECT_TRUE(rs.OpenSuppressed(state.g_QDON->SqlToFindTable(c.layersName), *state.g_pAdoConn));
        ASSERT_TRUE(DisconnectFromDbms(state));
    }
}

TEST_F(Detection, FailedProbesGoToTheFormatterNotToTheUser) {
    Connect(kOracleDatabase, "elsewhere");
    QueryDbmsType(state);
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_NE(state.g_cConnErrStr->Value().find("cross-database references are not implemented"),
              std::string::npos)
        << state.g_cConnErrStr->Value();
}

struct DescriptionCase {
    const char* label;
    std::optional<std::string> description;
    DbmsOption option;
    std::int32_t code;
};

const DescriptionCase kDescriptionCases[] = {
    {"Oracle in capitals", "TESSEL 9.1 FOR ORACLE9I", DbmsOption::Oracle, dbtype::kOracle},
    {"Oracle in lower case", "tessel 9.1 for oracle9i", DbmsOption::Oracle, dbtype::kOracle},
    {"Informix in mixed case", "Tessel for InFoRmIx Dynamic Server", DbmsOption::Informix, dbtype::kInformix},
    {"DB2 in lower case", "tessel 9.1 for ibm db2 udb", DbmsOption::DB2, dbtype::kDb2},
    {"SQL Server in mixed case", "Tessel for Microsoft Sql Server", DbmsOption::SqlServer,
     dbtype::kSqlServer},
    {"both DB2 and SQL", "Tessel for DB2 with SQL extensions", DbmsOption::DB2, dbtype::kDb2},
    {"SQL written before DB2", "SQL edition for db2", DbmsOption::DB2, dbtype::kDb2},
    {"ORA inside another word", "Tessel for SQL Server, Storage edition", DbmsOption::Oracle,
     dbtype::kOracle},
    {"Informix before SQL", "Informix SQL", DbmsOption::Informix, dbtype::kInformix},
    {"names no DBMS", "Tessel 9.1 Build 7", DbmsOption::None, dbtype::kNotSetUp},
    {"empty description", "", DbmsOption::None, dbtype::kNotSetUp},
    {"NULL description", std::nullopt, DbmsOption::None, dbtype::kNotSetUp},
};

TEST_F(Detection, TheDescriptionDecidesTheType) {
    Connect(kDescriptionDatabase, "");
    for (const DescriptionCase& c : kDescriptionCases) {
        SCOPED_TRACE(c.label);
        Cluster().Execute(kDescriptionDatabase, "UPDATE tsl.version SET description = " +
                                                    (c.description ? "'" + *c.description + "'" : "NULL"));
        ui.shown.clear();
        EarlierChoice();

        QueryDbmsType(state);

        if (c.option == DbmsOption::None) {
            EXPECT_EQ(ui.Lines(), std::vector<std::string>{kCannotParseText});
        } else {
            EXPECT_TRUE(ui.shown.empty()) << testing::PrintToString(ui.Lines());
        }
        EXPECT_EQ(state.selectedDbms, c.option);
        EXPECT_EQ(state.g_QDON->DbmsTypeCode(), c.code);
        ExpectBoxes("9", "1", "2");
    }
}

struct FailureCase {
    const char* label;
    const char* database;
    const char* rows;  // statements that leave VERSION as the case needs it
};

const FailureCase kFailureCases[] = {
    {"empty VERSION", kFailureDatabase, "DELETE FROM tsl.version"},
    {"NULL major", kFailureDatabase,
     "DELETE FROM tsl.version;"
     "INSERT INTO tsl.version VALUES (NULL, 1, 2, 0, 'Tessel for Oracle')"},
    {"NULL bugfix", kFailureDatabase,
     "DELETE FROM tsl.version;"
     "INSERT INTO tsl.version VALUES (9, 1, NULL, 0, 'Tessel for Oracle')"},
    {"no VERSION anywhere", kBareDatabase, nullptr},
};

TEST_F(Detection, NothingUsableLeavesEverythingEmpty) {
    for (const FailureCase& c : kFailureCases) {
        SCOPED_TRACE(c.label);
        if (c.rows != nullptr) {
            Cluster().Execute(c.database, c.rows);
        }
        ui.shown.clear();
        // Named so that both the DB2 and the Oracle style reach the table where it exists.
        Connect(c.database, c.database);
        EarlierChoice();

        QueryDbmsType(state);

        EXPECT_EQ(ui.Lines(), std::vector<std::string>{kUnableText});
        EXPECT_EQ(Sent().size(), 4u);
        EXPECT_EQ(state.selectedDbms, DbmsOption::None);
        EXPECT_EQ(state.g_QDON->DbmsTypeCode(), dbtype::kSqlServer);  // the last style tried
        ExpectBoxes("", "", "");
        ASSERT_TRUE(DisconnectFromDbms(state));
    }
}

}  // namespace
}  // namespace tabvet
