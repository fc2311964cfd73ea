// System-table names and probe statements for every server type, including the odd rules users rely on.
#include <gtest/gtest.h>

#include "db/qual_db_obj_name.h"
#include "db/runtime_error.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::RecordingInteraction;

TEST(NamerTest, SystemTablesAreQualifiedForEveryServerType) {
    const struct {
        std::int32_t code;
        const char* table;
        const char* expected;
    } cases[] = {
        {dbtype::kDb2, "VERSION", "TSL.TSL.VERSION"},
        {dbtype::kOracle, "VERSION", "TSL.VERSION"},
        {dbtype::kInformix, "VERSION", "TSL:TSL.VERSION"},
        {dbtype::kSqlServer, "VERSION", "TSL.TSL.tsl_VERSION"},
        // Only names that really end in GDB keep their bare name on SQL Server.
        {dbtype::kSqlServer, "GDB_RELEASE", "TSL.TSL.tsl_GDB_RELEASE"},
        {dbtype::kSqlServer, "xgdb", "TSL.TSL.xgdb"},
        // The end of the untrimmed name decides; the table part is trimmed afterwards.
        {dbtype::kSqlServer, " LAYERS ", "TSL.TSL.tsl_LAYERS"},
        {dbtype::kSqlServer, "XGDB ", "TSL.TSL.tsl_XGDB"},
        {dbtype::kOracle, "  LAYERS ", "TSL.LAYERS"},
    };
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    for (const auto& c : cases) {
        namer.Setup(c.code);
        EXPECT_EQ(namer.TslSystemTable(c.table), c.expected) << c.code << " '" << c.table << "'";
    }
    EXPECT_TRUE(ui.shown.empty());
}

TEST(NamerTest, FreshNamerIsNotSetUpAndSaysSoUnlessTheProbeInputIsEmpty) {
    RecordingInteraction ui;
    const clsQualDbObjName namer(ui);
    // Emptiness is checked before the set-up: no message.
    EXPECT_EQ(namer.SqlToFindTable(""), "");
    EXPECT_EQ(namer.SqlToFindColumn("", "O.T"), "");
    EXPECT_EQ(namer.SqlToFindColumn("C", ""), "");
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_FALSE(namer.UsesDatabaseName());
    EXPECT_EQ(namer.DbmsTypeCode(), dbtype::kNotSetUp);
    EXPECT_EQ(namer.TslSystemTable("LAYERS"), "");
    EXPECT_EQ(namer.UserTable("T", "O"), "");
    EXPECT_EQ(namer.SqlToFindTable("O.T"), "");
    EXPECT_EQ(namer.SqlToFindColumn("C", "O.T"), "");
    EXPECT_EQ(ui.Lines(),
              std::vector<std::string>(4, "Call Out Of Sequence: Must call clsQualDbObjName.Setup first"));
}

TEST(NamerTest, UserTableTrimsPartsAndUsesTheRightDatabase) {
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    namer.Setup(dbtype::kInformix, "mydb");
    EXPECT_EQ(namer.UserTable("t", "o"), "mydb:o.t");
    EXPECT_EQ(namer.UserTable(" t ", " o ", " d "), "d:o.t");
    EXPECT_EQ(namer.UserTable("t", "o", "12345"), "mydb:o.t");  // "12345" means "not given"
    namer.Setup(dbtype::kOracle);
    EXPECT_EQ(namer.UserTable("T", "O", "D"), "O.T");  // Oracle names carry no database
    EXPECT_EQ(namer.UserTable("", ""), ".");           // empty parts are not checked
}

TEST(NamerTest, SetupKeepsOrReplacesTheSystemDatabaseName) {
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    namer.Setup(dbtype::kDb2, "GIS");
    namer.Setup(dbtype::kDb2, "12345");
    EXPECT_EQ(namer.TslSystemTable("VERSION"), "GIS.TSL.VERSION");
    namer.Setup(dbtype::kDb2, " padded ");  // stored unchanged, trimmed only when a name is built
    EXPECT_EQ(namer.SystemDatabaseName(), " padded ");
    EXPECT_EQ(namer.TslSystemTable("VERSION"), "padded.TSL.VERSION");
    // What the window passes when no database was entered in the logon dialog.
    namer.Setup(dbtype::kSqlServer, "");
    EXPECT_EQ(namer.TslSystemTable("VERSION"), ".TSL.tsl_VERSION");
}

TEST(NamerTest, InvalidTypeRaisesAndKeepsThePreviousSetup) {
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    namer.Setup(dbtype::kOracle);
    for (const std::int32_t bad : {1, 6}) {
        try {
            namer.Setup(bad, "OTHER");
            FAIL() << "code " << bad << " was accepted";
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.Number(), -2147189392);
            EXPECT_EQ(e.Description(), "Invalid database type");
        }
    }
    EXPECT_EQ(namer.DbmsTypeCode(), dbtype::kOracle);
    EXPECT_EQ(namer.SystemDatabaseName(), "TSL");
    EXPECT_EQ(namer.TslSystemTable("VERSION"), "TSL.VERSION");
}

TEST(NamerTest, ProbeStatementsPerServerType) {
    RecordingInteraction ui;
    clsQualDbObjName namer(ui);
    namer.Setup(dbtype::kOracle);
    EXPECT_EQ(namer.SqlToFindTable("GIS.ROADS"), "SELECT COUNT(*) FROM GIS.ROADS WHERE 1 = 2");
    EXPECT_EQ(namer.SqlToFindColumn("SHAPE", "GIS.ROADS"),
              "SELECT COUNT(A.SHAPE) FROM GIS.ROADS A WHERE 1 = 2");
    for (const std::int32_t code : {dbtype::kDb2, dbtype::kInformix, dbtype::kSqlServer}) {
        namer.Setup(code);
        EXPECT_EQ(namer.SqlToFindTable("D.GIS.ROADS"), "SELECT * FROM D.GIS.ROADS WHERE 1 = 2");
        EXPECT_EQ(namer.SqlToFindColumn("SHAPE", "D.GIS.ROADS"),
                  "SELECT A.SHAPE FROM D.GIS.ROADS A WHERE 1 = 2");
    }
    EXPECT_TRUE(ui.shown.empty());
}

}  // namespace
}  // namespace tabvet
