// The logon dialog's model: the string it assembles, what Cancel and reopening keep, and the field rules.
#include <gtest/gtest.h>

#include "db/odbc_logon.h"

namespace tabvet {
namespace {

// A driver manager with one data source and one installed driver.
DriverManagerLists OneDsnLists() {
    return {.environmentAllocated = true,
            .dataSources = {{.name = "Sales", .driver = "PostgreSQL Unicode"}},
            .drivers = {"PostgreSQL Unicode"}};
}

struct AssemblyCase {
    const char* label;
    int dsnIndex;
    const char* driver;
    const char* server;
    const char* uid;
    const char* pwd;
    const char* database;
    const char* expected;
};

const AssemblyCase kAssemblyCases[] = {
    {"driver form", 0, "PostgreSQL Unicode", "gisdb01", "tsl", "kqv", "",
     "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;"},
    {"driver form with database", 0, "PostgreSQL Unicode", "gisdb01", "tsl", "kqv", "parcels",
     "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;Database=parcels;"},
    {"dsn form ignores driver and server text", 1, "PostgreSQL Unicode", "gisdb01", "tsl", "kqv", "",
     "PROVIDER=MSDASQL;DSN=Sales;UID=tsl;PWD=kqv;"},
    {"dsn form with database", 1, "", "", "tsl", "kqv", "Parcels",
     "PROVIDER=MSDASQL;DSN=Sales;UID=tsl;PWD=kqv;Database=Parcels;"},
    {"empty user and password stay in", 1, "", "", "", "", "", "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;"},
    {"nothing filled in", 0, "", "", "", "", "", "PROVIDER=MSDASQL;Driver=;Server=;UID=;PWD=;"},
    {"fields used exactly as typed", 0, " Odd Driver ", " host ", " u ", "p;w", " db ",
     "PROVIDER=MSDASQL;Driver= Odd Driver ;Server= host ;UID= u ;PWD=p;w;Database= db ;"},
};

TEST(OdbcLogonAssembly, BuildsTheStringFromTheFields) {
    for (const AssemblyCase& c : kAssemblyCases) {
        SCOPED_TRACE(c.label);
        frmODBCLogon dialog(OneDsnLists);
        dialog.Show("");
        dialog.DsnChoice(c.dsnIndex);
        dialog.cboDriversText = c.driver;
        dialog.txtServer = c.server;
        dialog.txtUID = c.uid;
        dialog.txtPWD = c.pwd;
        dialog.txtDatabase = c.database;
        dialog.OkClick();
        EXPECT_EQ(dialog.ConnectionString(), c.expected);
        EXPECT_FALSE(dialog.Visible());
    }
}

TEST(OdbcLogonAssembly, CancelAfterAnEarlierOkGivesAnEmptyString) {
    frmODBCLogon dialog(OneDsnLists);
    dialog.Show("");
    dialog.DsnChoice(1);
    dialog.OkClick();
    ASSERT_EQ(dialog.ConnectionString(), "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;");
    dialog.Show("");
    dialog.CancelClick();
    EXPECT_EQ(dialog.ConnectionString(), "");
    EXPECT_FALSE(dialog.Visible());
}

TEST(OdbcLogonLoad, FirstShowingLoadsLaterOnesKeepListsAndFields) {
    int reads = 0;
    frmODBCLogon dialog([&] {
        ++reads;
        return OneDsnLists();
    });
    EXPECT_FALSE(dialog.Loaded());
    dialog.Show("PARCELS");
    EXPECT_TRUE(dialog.Visible());
    EXPECT_EQ(dialog.txtDatabase, "PARCELS");
    EXPECT_EQ(dialog.cboDSNList, (std::vector<std::string>{"(None)", "Sales"}));
    EXPECT_EQ(dialog.cboDSNListIndex, 0);

    dialog.txtServer = "gisdb01";
    dialog.txtDatabase = "roads";
    dialog.OkClick();
    dialog.Show("SOMETHING ELSE");
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(dialog.txtServer, "gisdb01");
    EXPECT_EQ(dialog.txtDatabase, "roads");
    EXPECT_EQ(dialog.cboDSNList, (std::vector<std::string>{"(None)", "Sales"}));
    EXPECT_EQ(dialog.cboDrivers, (std::vector<std::string>{"PostgreSQL Unicode"}));
}

TEST(OdbcLogonDsnChoice, ARealDataSourceDisablesServerAndDriver) {
    frmODBCLogon dialog(OneDsnLists);
    dialog.Show("");
    EXPECT_TRUE(dialog.txtServerEnabled);
    EXPECT_TRUE(dialog.cboDriversEnabled);
    dialog.DsnChoice(1);
    EXPECT_FALSE(dialog.txtServerEnabled);
    EXPECT_FALSE(dialog.cboDriversEnabled);
    dialog.DsnChoice(0);
    EXPECT_TRUE(dialog.txtServerEnabled);
    EXPECT_TRUE(dialog.cboDriversEnabled);
}

// States no real driver manager produces: no environment at all, and entries whose names are blank.
TEST(OdbcLogonLists, WithoutAnEnvironmentOnlyNoneIsListed) {
    frmODBCLogon dialog([] { return DriverManagerLists{}; });
    dialog.Show("");
    EXPECT_EQ(dialog.cboDSNList, (std::vector<std::string>{"(None)"}));
    EXPECT_TRUE(dialog.cboDrivers.empty());
    EXPECT_TRUE(dialog.cboDriversEnabled);
    dialog.cboDriversText = "Typed Driver";
    dialog.txtServer = "h";
    dialog.OkClick();
    EXPECT_EQ(dialog.ConnectionString(), "PROVIDER=MSDASQL;Driver=Typed Driver;Server=h;UID=;PWD=;");
}

TEST(OdbcLogonLists, BlankNamesAreSkippedAndNeighbouringRepeatsRemoved) {
    frmODBCLogon dialog([] {
        return DriverManagerLists{.environmentAllocated = true,
                                  .dataSources = {{.name = "   ", .driver = "Hidden"},
                                                  {.name = "b", .driver = "Zeta"},
                                                  {.name = "a", .driver = "alpha"}},
                                  .drivers = {"Zeta", "  ", "Alpha", "alpha", "Zeta"}};
    });
    dialog.Show("");
    EXPECT_EQ(dialog.cboDSNList, (std::vector<std::string>{"(None)", "b", "a"}));
    // Sorted with letter case ignored; names that differ in case are both kept, exact repeats go.
    EXPECT_EQ(dialog.cboDrivers, (std::vector<std::string>{"Alpha", "alpha", "Zeta"}));
}

}  // namespace
}  // namespace tabvet
