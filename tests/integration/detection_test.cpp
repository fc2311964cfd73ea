// "Query DBMS" against the real driver: each layout is found through the one naming style that reads it,
// the description decides the type, and nothing usable gives the exact messages.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "db/connection_handling.h"
#include "db/recordset.h"
#include "db/server_type_detection.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

constexpr const char* kCannotParse =
    "Cannot parse DBMS description: Cannot determine DBMS type.  Please select it manually.";

const PgCluster& Cluster() {
    static const bool built = [] {
        const PgCluster& pg = PgCluster::Shared();
        const auto withRow = [&](const char* database, const char* description) {
            pg.CreateDatabase(database, {"tessel_schema.sql"});
            pg.Execute(database,
                       std::string("INSERT INTO tsl.version VALUES (9, 1, 2, 0, '") + description + "')");
        };
        withRow("detect6_db2", "Tessel 9.1 for IBM DB2 UDB");
        withRow("detect6_ora", "Tessel 9.1 for Oracle9i");
        withRow("detect6_desc", "replaced by each case");
        withRow("detect6_fail", "Tessel 9.1 for Oracle9i");
        pg.CreateDatabase("detect6_mss", {"tessel_schema.sql", "layout_sqlserver.sql"});
        pg.Execute("detect6_mss",
                   "INSERT INTO tsl.tsl_version VALUES (9, 1, 2, 0, 'Tessel for SQL Server 2000')");
        pg.CreateDatabase("detect6_none", {});
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

class Detection : public ::testing::Test {
  protected:
    Detection() : state(ui) {
        state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
        state.g_cConnErrStr = std::make_unique<clsConnErrorString>(ui);
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

struct LayoutCase {
    const char* database;
    const char* systemDatabase;
    DbmsOption option;
    const char* layersName;
};

// In PostgreSQL the DB2 style reads VERSION only when it names the connected database, the SQL Server
// layout only through its own style, and without a database name only the Oracle style reads it.
const LayoutCase kLayoutCases[] = {
    {"detect6_db2", "detect6_db2", DbmsOption::DB2, "DETECT6_DB2.TSL.LAYERS"},
    {"detect6_mss", "detect6_mss", DbmsOption::SqlServer, "DETECT6_MSS.TSL.tsl_LAYERS"},
    {"detect6_ora", "", DbmsOption::Oracle, "TSL.LAYERS"},
    {"detect6_ora", "elsewhere", DbmsOption::Oracle, "TSL.LAYERS"},
};

TEST_F(Detection, EachLayoutIsReadAndTheNamerLeftReadyForTheTests) {
    for (const LayoutCase& c : kLayoutCases) {
        SCOPED_TRACE(std::string(c.database) + " named '" + c.systemDatabase + "'");
        Detect(c.database, c.systemDatabase);
        EXPECT_TRUE(ui.shown.empty()) << testing::PrintToString(ui.Lines());
        EXPECT_EQ(state.selectedDbms, c.option);
        EXPECT_EQ(Boxes(), "9.1.2");
        EXPECT_EQ(state.g_QDON->TslSystemTable("LAYERS"), c.layersName);
        Recordset probe;
        EXPECT_TRUE(probe.OpenSuppressed(state.g_QDON->SqlToFindTable(c.layersName), *state.g_pAdoConn));
        ASSERT_TRUE(DisconnectFromDbms(state));
    }
}

struct DescriptionCase {
    std::optional<std::string> description;
    DbmsOption option;
};

const DescriptionCase kDescriptionCases[] = {
    {"TESSEL 9.1 FOR ORACLE9I", DbmsOption::Oracle},
    {"tessel for oracle", DbmsOption::Oracle},
    {"Tessel for InFoRmIx Dynamic Server", DbmsOption::Informix},
    {"tessel 9.1 for ibm db2 udb", DbmsOption::DB2},
    {"Tessel for Microsoft Sql Server", DbmsOption::SqlServer},
    {"SQL edition for DB2", DbmsOption::DB2},
    {"Tessel for SQL Server, Storage edition", DbmsOption::Oracle},  // "ORA" inside "Storage"
    {"Informix SQL", DbmsOption::Informix},
    {"Tessel 9.1 Build 7", DbmsOption::None},
    {std::nullopt, DbmsOption::None},
};

TEST_F(Detection, TheDescriptionDecidesTheType) {
    for (const DescriptionCase& c : kDescriptionCases) {
        SCOPED_TRACE(c.description.value_or("NULL"));
        Cluster().Execute("detect6_desc",
                          "UPDATE tsl.version SET description = " +
                              (c.description ? "'" + *c.description + "'" : std::string("NULL")));
        Detect("detect6_desc", "");
        EXPECT_EQ(ui.Lines(), c.option == DbmsOption::None ? std::vector<std::string>{kCannotParse}
                                                           : std::vector<std::string>{});
        EXPECT_EQ(state.selectedDbms, c.option);
        EXPECT_EQ(state.g_QDON->DbmsTypeCode(), DbmsTypeCodeOf(c.option));  // 1 when nothing is named
        EXPECT_EQ(Boxes(), "9.1.2");
        ASSERT_TRUE(DisconnectFromDbms(state));
    }
}

TEST_F(Detection, NoCompleteVersionRowLeavesEverythingEmpty) {
    const struct {
        const char* database;
        const char* rows;
    } cases[] = {
        {"detect6_fail", "UPDATE tsl.version SET major = NULL"},
        {"detect6_fail", "UPDATE tsl.version SET major = 9, bugfix = NULL"},
        {"detect6_fail", "DELETE FROM tsl.version"},
        {"detect6_none", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rows ? c.rows : "no VERSION");
        if (c.rows != nullptr) {
            Cluster().Execute(c.database, c.rows);
        }
        Detect(c.database, c.database);  // both the DB2 and the Oracle style reach VERSION where it exists
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
