// The connect button and "Query DBMS" against the real driver: the error box of a failed or malformed
// connection string (the model stays usable), and the server type and version read from each layout.
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
        for (const char* database : {"detect6_db2", "detect6_desc"}) {
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
    ConnectButton() : state(ui) { EXPECT_TRUE(StartUp(state)); }

    testsupport::RecordingInteraction ui;
    MainState state;
};

// Every bad string gives one box that says what is wrong, twice on two clicks, and the same model then
// connects with a good string. Strings beyond ODBC's 16-bit length are refused, not cut short.
TEST_F(ConnectButton, EveryBadStringIsOneClearBoxAndTheModelStaysUsable) {
    const std::string good = Cluster().ConnectionString("conn6");
    const std::pair<std::string, std::string> cases[] = {
        {"Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=1;Database=conn6;UID=tabvet;PWD=;",
         "Errors:\r\n\r\n>>>> Err#101: connection to server at \"127.0.0.1\", port 1 failed: Connection "
         "refused\n"
         "\tIs the server running on that host and accepting TCP/IP connections?\n"},
        {kCannedConnectionString,
         "Errors:\r\n\r\n>>>> Err#0: [unixODBC][Driver Manager]Can't open lib 'Oracle in OraHome90' : file "
         "not found"},
        {"Driver={PostgreSQL Unicode;Servername=127.0.0.1;",
         "Can't open lib 'PostgreSQL Unicode;Servername=127.0.0.1;'"},
        {"Driver=}PostgreSQL Unicode{;", "Can't open lib '}PostgreSQL Unicode{'"},
        {";;;", "Data source name not found"},
        {"=;=;Driver=;", "Err#101: connection to server"},
        {"Provider=MSDASQL;", "Data source name not found"},
        {"Driver=No Such Driver 9;Server=x;", "Can't open lib 'No Such Driver 9'"},
        {"DSN=no_such_source;", "Data source name not found"},
        {std::string("Driver=PostgreSQL\x01\x7f Unicode;"), "Can't open lib"},
        {good + "X=" + std::string(40000, 'x'), "ODBC accepts at most 32767"},
        {std::string(65536, ';'), "The connection string is 65536 characters long"},
        {good + std::string(65536 - good.size(), 'y'), "The connection string is 65536 characters long"},
        {good + "X=" + std::string(32767 - good.size() - 2, 'z'), ""},  // just within the limit: connects
    };
    for (const auto& [connectionString, message] : cases) {
        SCOPED_TRACE(connectionString.substr(0, 80));
        ConnectionStringChanged(state, connectionString);
        for (int click = 1; click <= (message.empty() ? 1 : 2); ++click) {
            ui.shown.clear();
            ConnectButtonClick(state);
            EXPECT_EQ(state.g_pAdoConn == nullptr, !message.empty()) << testing::PrintToString(ui.Lines());
            ASSERT_EQ(ui.shown.size(), message.empty() ? 0u : 1u);
            if (!message.empty()) {
                EXPECT_EQ(ui.shown[0].title, "Error connecting to DBMS");
                EXPECT_EQ(ui.shown[0].icon, MsgIcon::Exclamation);
                EXPECT_EQ(ui.shown[0].text.rfind("Errors:\r\n\r\n>>>> Err#", 0), 0u) << ui.shown[0].text;
                EXPECT_TRUE(message.rfind("Errors:", 0) == 0
                                ? ui.shown[0].text == message
                                : ui.shown[0].text.find(message) != std::string::npos)
                    << ui.shown[0].text.substr(0, 300);
                EXPECT_EQ(state.cmdConnectCaption + (state.cmdBuildStringEnabled ? " build" : ""),
                          "Connect build");
            }
        }
        if (state.g_pAdoConn == nullptr) {
            ConnectionStringChanged(state, good);
            ConnectButtonClick(state);
            ASSERT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
        }
        ConnectButtonClick(state);
        EXPECT_EQ(state.g_pAdoConn, nullptr);
    }
}

// DB2 style reads VERSION only when it names the connected database, the SQL Server layout only through its
// own style, and without a database name only the Oracle style reads it. The description decides the type
// ("ORA" inside "Storage" too); without a complete VERSION row everything stays empty.
TEST_F(ConnectButton, QueryDbmsReadsEachLayoutAndTheDescriptionDecidesTheType) {
    const std::string unable = "Unexpected Condition: Unable to determine type of database. Sorry.";
    const std::string cannotParse =
        "Cannot parse DBMS description: Cannot determine DBMS type.  Please select it manually.";
    const struct {
        const char* database;
        const char* systemDatabase;
        std::optional<std::string> change;
        DbmsOption option;
        const char* boxes;
        std::string message;
        const char* layersName;
    } cases[] = {
        {"detect6_db2", "detect6_db2", {}, DbmsOption::DB2, "9.1.2", "", "DETECT6_DB2.TSL.LAYERS"},
        {"detect6_mss", "detect6_mss", {}, DbmsOption::SqlServer, "9.1.2", "", "DETECT6_MSS.TSL.tsl_LAYERS"},
        {"conn6", "", {}, DbmsOption::Oracle, "9.0.0", "", "TSL.LAYERS"},
        {"conn6", "elsewhere", {}, DbmsOption::Oracle, "9.0.0", "", "TSL.LAYERS"},
        {"detect6_desc", "", "'TESSEL 9.1 FOR ORACLE9I'", DbmsOption::Oracle, "9.1.2", "", nullptr},
        {"detect6_desc", "", "'Tessel for InFoRmIx Dynamic Server'", DbmsOption::Informix, "9.1.2", "",
         nullptr},
        {"detect6_desc", "", "'tessel 9.1 for ibm db2 udb'", DbmsOption::DB2, "9.1.2", "", nullptr},
        {"detect6_desc", "", "'Tessel for Microsoft Sql Server'", DbmsOption::SqlServer, "9.1.2", "",
         nullptr},
        {"detect6_desc", "", "'SQL edition for DB2'", DbmsOption::DB2, "9.1.2", "", nullptr},
        {"detect6_desc", "", "'Tessel for SQL Server, Storage edition'", DbmsOption::Oracle, "9.1.2", "",
         nullptr},
        {"detect6_desc", "", "'Informix SQL'", DbmsOption::Informix, "9.1.2", "", nullptr},
        {"detect6_desc", "", "'Tessel 9.1 Build 7'", DbmsOption::None, "9.1.2", cannotParse, nullptr},
        {"detect6_desc", "", "NULL", DbmsOption::None, "9.1.2", cannotParse, nullptr},
        {"detect6_desc", "detect6_desc", "NULL, major = NULL", DbmsOption::None, "..", unable, nullptr},
        {"detect6_desc", "detect6_desc", "NULL, major = 9, bugfix = NULL", DbmsOption::None, "..", unable,
         nullptr},
        {"detect6_desc", "detect6_desc", "DELETE", DbmsOption::None, "..", unable, nullptr},
        {"detect6_none", "detect6_none", {}, DbmsOption::None, "..", unable, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.database) + " " + c.change.value_or(""));
        if (c.change) {
            Cluster().Execute(c.database, *c.change == "DELETE"
                                              ? "DELETE FROM tsl.version"
                                              : "UPDATE tsl.version SET description = " + *c.change);
        }
        ConnectionStringChanged(state, Cluster().ConnectionString(c.database));
        SetSystemTableDatabase(state, c.systemDatabase);
        ConnectToDbms(state);
        ASSERT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
        ui.shown.clear();
        state.selectedDbms = DbmsOption::Informix;  // an earlier choice that detection must not keep
        state.txtMajorVersion = state.txtMinorVersion = state.txtBugfix = "7";
        QueryDbmsType(state);
        EXPECT_EQ(ui.Lines(),
                  c.message.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.message});
        EXPECT_EQ(state.selectedDbms, c.option);
        // The namer is left on code 1 when nothing is named, on the last style tried when nothing was read.
        EXPECT_EQ(state.g_QDON->DbmsTypeCode(),
                  c.boxes[0] == '.' ? dbtype::kSqlServer : DbmsTypeCodeOf(c.option));
        EXPECT_EQ(state.txtMajorVersion + "." + state.txtMinorVersion + "." + state.txtBugfix, c.boxes);
        if (c.layersName != nullptr) {
            EXPECT_EQ(state.g_QDON->TslSystemTable("LAYERS"), c.layersName);
            Recordset probe;
            EXPECT_TRUE(probe.OpenSuppressed(state.g_QDON->SqlToFindTable(c.layersName), *state.g_pAdoConn));
        }
        ASSERT_TRUE(DisconnectFromDbms(state));
    }
}

}  // namespace
}  // namespace tabvet
