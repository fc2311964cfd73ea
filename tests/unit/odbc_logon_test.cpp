// The logon dialog's model: the string OK assembles from the fields, and what Cancel and reopening keep.
#include <gtest/gtest.h>

#include "db/odbc_logon.h"

namespace tabvet {
namespace {

DriverManagerLists OneDsn() {
    return {.environmentAllocated = true,
            .dataSources = {{.name = "Sales", .driver = "PostgreSQL Unicode"}},
            .drivers = {}};
}

struct AssemblyCase {
    const char* label;
    int dsnIndex;  // 0 is "(None)"
    const char* uid;
    const char* pwd;
    const char* database;
    const char* expected;
};

const AssemblyCase kAssemblyCases[] = {
    {"driver form", 0, "tsl", "kqv", "",
     "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;"},
    {"driver form with database", 0, "tsl", "kqv", "Parcels",
     "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;Database=Parcels;"},
    {"a data source leaves driver and server out", 1, "tsl", "kqv", "",
     "PROVIDER=MSDASQL;DSN=Sales;UID=tsl;PWD=kqv;"},
    {"empty user and password stay in", 1, "", "", "roads",
     "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;Database=roads;"},
};

TEST(OdbcLogon, OkAssemblesTheStringFromTheFields) {
    for (const AssemblyCase& c : kAssemblyCases) {
        SCOPED_TRACE(c.label);
        frmODBCLogon dialog(OneDsn);
        dialog.Show("");
        dialog.DsnChoice(c.dsnIndex);
        EXPECT_EQ(dialog.txtServerEnabled, c.dsnIndex == 0);
        EXPECT_EQ(dialog.cboDriversEnabled, c.dsnIndex == 0);
        dialog.cboDriversText = "PostgreSQL Unicode";
        dialog.txtServer = "gisdb01";
        dialog.txtUID = c.uid;
        dialog.txtPWD = c.pwd;
        dialog.txtDatabase = c.database;
        dialog.OkClick();
        EXPECT_EQ(dialog.ConnectionString(), c.expected);
        EXPECT_FALSE(dialog.Visible());
    }
}

TEST(OdbcLogon, CancelAfterOkEmptiesTheStringWhileListsAndFieldsStay) {
    int reads = 0;
    frmODBCLogon dialog([&] {
        ++reads;
        return OneDsn();
    });
    dialog.Show("PARCELS");
    EXPECT_EQ(dialog.txtDatabase, "PARCELS");  // taken from the main window at the first showing only
    dialog.DsnChoice(1);
    dialog.OkClick();
    ASSERT_EQ(dialog.ConnectionString(), "PROVIDER=MSDASQL;DSN=Sales;UID=;PWD=;Database=PARCELS;");

    dialog.Show("OTHER");
    EXPECT_EQ(dialog.txtDatabase, "PARCELS");
    EXPECT_EQ(dialog.cboDSNList, (std::vector<std::string>{"(None)", "Sales"}));
    dialog.CancelClick();
    EXPECT_EQ(dialog.ConnectionString(), "");
    EXPECT_EQ(reads, 1);
}

}  // namespace
}  // namespace tabvet
