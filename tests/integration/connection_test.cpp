// The connect button and "Query DBMS" against the real driver: connect and disconnect, the error box of a
// failed open, what a disconnect after a run asks and discards, and the server type read from each layout.
#include <gtest/gtest.h>

#include <optional>

#include "db/connection_handling.h"
#include "db/recordset.h"
#include "db/server_type_detection.h"
#include "startup.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        pg.CreateDatabase("conn6", {"tessel_schema.sql", "healthy_version.sql"});
        for (const char* database : {"detect6_db2", "detect6_desc", "detect6_fail"}) {
            pg.CreateDatabase(database, {"tessel_schema.sql"});
            pg.Execute(database, "INSERT INTO tsl.version VALUES (9, 1, 2, 0, 'Tessel 9.1 for IBM DB2 UDB')");
        }
        pg.CreateDatabase("detect6_mss", {"tessel_schema.sql", "layout_sqlserver.sql"});
        pg.Execute("detect6_mss",
                   "INSERT INTO tsl.tsl_version VALUES (9, 1, 2, 0, 'Tessel for SQL Server 2000')");
        pg.CreateDatabase("detect6_none", {});
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

class ConnectButton : public ::testing::Test {
  protected:
    ConnectButton() : state(ui) {
        EXPECT_TRUE(StartUp(state));
        ConnectionStringChanged(state, Cluster().ConnectionString("conn6"));
        SetSystemTableDatabase(state, "gis");
    }

    // Connects with `systemDatabase` as typed into the logon dialog, then presses "Query DBMS" over an
    // earlier choice that detection must not keep.
    void Detect(const std::string& database, const std::string& systemDatabase) {
        ui.shown.clear();
        ConnectionStringChanged(state, Cluster().ConnectionString(database));
        SetSystemTableDatabase(state, systemDatabase);
        ConnectToDbms(state);
        ASSERT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
        state.selectedDbms = DbmsOption::Informix;
        state.txtMajorVersion = state.txtMinorVersion = state.txtBugfix = "7";
        QueryDbmsType(state);
    }
    std::string Boxes() const {
        return state.txtMajorVersion + "." + state.txtMinorVersion + "." + state.txtBugfix;
    }

    testsupport::RecordingInteraction ui;
    MainState state;
};

TEST_F(ConnectButton, AFailedOpenShowsTheDriversMessagesAndTheNextClickTriesAgain) {
    const std::pair<std::string, std::string> cases[] = {
        {"Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=1;Database=conn6;UID=tabvet;PWD=;",
         ">>>> Err#101: connection to server at \"127.0.0.1\", port 1 failed: Connection refused\n"
         "\tIs the server running on that host and accepting TCP/IP connections?\n"},
        {kCannedConnectionString,
         ">>>> Err#0: [unixODBC][Driver Manager]Can't open lib 'Oracle in OraHome90' : file not found"},
    };
    for (const auto& [connectionString, errors] : cases) {
        ConnectionStringChanged(state, connectionString);
        for (int click = 1; click <= 2; ++click) {
            ui.shown.clear();
            ConnectButtonClick(state);
            EXPECT_EQ(ui.Lines(),
                      std::vector<std::string>{"Error connecting to DBMS: Errors:\r\n\r\n" + errors});
            EXPECT_EQ(ui.shown[0].icon, MsgIcon::Exclamation);
            EXPECT_EQ(state.cmdConnectCaption + (state.cmdBuildStringEnabled ? " build" : ""),
                      "Connect build");
        }
    }
}

// In PostgreSQL the DB2 style reads VERSION only when it names the connected database, the SQL Server
// layout only through its own style, and without a database name only the Oracle style reads it.
TEST_F(ConnectButton, QueryDbmsReadsEachLayoutAndLeavesTheNamerReadyForTheTests) {
    const struct {
        const char* database;
        const char* systemDatabase;
        DbmsOption option;
        const char* layersName;
    } cases[] = {
        {"detect6_db2", "detect6_db2", DbmsOption::DB2, "DETECT6_DB2.TSL.LAYERS"},
        {"detect6_mss", "detect6_mss", DbmsOption::SqlServer, "DETECT6_MSS.TSL.tsl_LAYERS"},
        {"conn6", "", DbmsOption::Oracle, "TSL.LAYERS"},
        {"conn6", "elsewhere", DbmsOption::Oracle, "TSL.LAYERS"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.database) + " named '" + c.systemDatabase + "'");
        Detect(c.database, c.systemDatabase);
        EXPECT_TRUE(ui.shown.empty()) << testing::PrintToString(ui.Lines());
        EXPECT_EQ(state.selectedDbms, c.option);
        EXPECT_EQ(Boxes(), c.option == DbmsOption::Oracle ? "9.0.0" : "9.1.2");
        EXPECT_EQ(state.g_QDON->TslSystemTable("LAYERS"), c.layersName);
        Recordset probe;
        EXPECT_TRUE(probe.OpenSuppressed(state.g_QDON->SqlToFindTable(c.layersName), *state.g_pAdoConn));
        ASSERT_TRUE(DisconnectFromDbms(state));
    }
}

TEST_F(ConnectButton, TheDescriptionDecidesTheType) {
    const std::pair<std::optional<std::string>, DbmsOption> cases[] = {
        {"TESSEL 9.1 FOR ORACLE9I", DbmsOption::Oracle},
        {"Tessel for InFoRmIx Dynamic Server", DbmsOption::Informix},
        {"tessel 9.1 for ibm db2 udb", DbmsOption::DB2},
        {"Tessel for Microsoft Sql Server", DbmsOption::SqlServer},
        {"SQL edition for DB2", DbmsOption::DB2},
        {"Tessel for SQL Server, Storage edition", DbmsOption::Oracle},  // "ORA" inside "Storage"
        {"Informix SQL", DbmsOption::Informix},
        {"Tessel 9.1 Build 7", DbmsOption::None},
        {std::nullopt, DbmsOption::None},
    };
    for (const auto& [description, option] : cases) {
        SCOPED_TRACE(description.value_or("NULL"));
        Cluster().Execute("detect6_desc", "UPDATE tsl.version SET description = " +
                                              (description ? "'" + *description + "'" : std::string("NULL")));
        Detect("detect6_desc", "");
        EXPECT_EQ(ui.Lines(),
                  option == DbmsOption::None
                      ? std::vector<std::string>{"Cannot parse DBMS description: Cannot determine "
                                                 "DBMS type.  Please select it manually."}
                      : std::vector<std::string>{});
        EXPECT_EQ(state.selectedDbms, option);
        EXPECT_EQ(state.g_QDON->DbmsTypeCode(), DbmsTypeCodeOf(option));  // 1 when nothing is named
        EXPECT_EQ(Boxes(), "9.1.2");
        ASSERT_TRUE(DisconnectFromDbms(state));
    }
}

TEST_F(ConnectButton, NoCompleteVersionRowLeavesEverythingEmpty) {
    const std::pair<const char*, const char*> cases[] = {
        {"detect6_fail", "UPDATE tsl.version SET major = NULL"},
        {"detect6_fail", "UPDATE tsl.version SET major = 9, bugfix = NULL"},
        {"detect6_fail", "DELETE FROM tsl.version"},
        {"detect6_none", nullptr},
    };
    for (const auto& [database, change] : cases) {
        SCOPED_TRACE(change ? change : "no VERSION");
        if (change != nullptr) {
            Cluster().Execute(database, change);
        }
        Detect(database, database);  // both the DB2 and the Oracle style reach VERSION where it exists
        EXPECT_EQ(ui.Lines(), std::vector<std::string>{
                                  "Unexpected Condition: Unable to determine type of database. Sorry."});
        EXPECT_EQ(state.selectedDbms, DbmsOption::None);
        EXPECT_EQ(state.g_QDON->DbmsTypeCode(), dbtype::kSqlServer);  // the last style tried
        EXPECT_EQ(Boxes(), "..");
        ASSERT_TRUE(DisconnectFromDbms(state));
    }
}

}  // namespace
}  // namespace tabvet
