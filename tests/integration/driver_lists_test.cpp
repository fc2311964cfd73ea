// The logon dialog's lists from the real unixODBC driver manager, read from ini files of the test's own,
// and a data source chosen in the dialog carried through to a connection and a detection.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "db/odbc_connection.h"
#include "session/connection_handling.h"
#include "session/server_type_detection.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

// unixODBC takes the home folder from the password database rather than HOME, so the user file is named
// through ODBCINI; and it keeps the system folder it first read, so this executable runs alone and the
// folder serves the whole process.
class DriverLists : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        PgCluster::Shared().CreateDatabase("lists6", {"tessel_schema.sql", "healthy_version.sql"});
        static const testsupport::TempFolder folder;
        testsupport::WriteBytes(folder.File("odbcinst.ini"),
                                "[PostgreSQL Unicode]\nDriver=psqlodbcw.so\nCommLog=0\n"
                                "[Zeta Driver]\nDriver=libtabvet-zeta.so\n"
                                "[alpha driver]\nDriver=libtabvet-alpha.so\n");
        // Parcels names another database than the dialog asks for below: the dialog's must win.
        testsupport::WriteBytes(folder.File("odbc.ini"),
                                "[Parcels]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort=" +
                                    std::to_string(PgCluster::Shared().Port()) +
                                    "\nDatabase=postgres\n"
                                    "[Roads]\nDriver=PostgreSQL Unicode\n"
                                    "[Legacy]\nDriver=Retired Driver\n");
        testsupport::WriteBytes(folder.File("user.ini"), "[Mine]\nDriver=alpha driver\n");
        ::setenv("ODBCSYSINI", folder.Path().c_str(), 1);
        ::setenv("ODBCINI", folder.File("user.ini").c_str(), 1);
    }
};

TEST_F(DriverLists, UserAndSystemDataSourcesAndEachDriverOnceSorted) {
    frmODBCLogon dialog;
    dialog.Show("");
    EXPECT_EQ(dialog.cboDSNList, (std::vector<std::string>{"(None)", "Mine", "Parcels", "Roads", "Legacy"}));
    // PostgreSQL Unicode is used by two data sources and installed; Retired Driver is only named by a
    // data source, Zeta Driver only installed.
    EXPECT_EQ(dialog.cboDrivers, (std::vector<std::string>{"alpha driver", "PostgreSQL Unicode",
                                                           "Retired Driver", "Zeta Driver"}));
    EXPECT_TRUE(dialog.txtServerEnabled);
}

TEST_F(DriverLists, ADataSourceChosenInTheDialogConnectsAndIsDetected) {
    testsupport::RecordingInteraction ui;
    MainState state(ui, NewOdbcConnection);
    state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    state.g_cConnErrStr = std::make_unique<clsConnErrorString>(ui);
    struct ChooseParcels final : LogonDialogPresenter {
        void ShowModal(frmODBCLogon& dialog) override {
            const auto parcels = std::find(dialog.cboDSNList.begin(), dialog.cboDSNList.end(), "Parcels");
            dialog.DsnChoice(static_cast<int>(parcels - dialog.cboDSNList.begin()));
            dialog.txtUID = "tabvet";
            dialog.txtDatabase = "lists6";
            dialog.OkClick();
        }
    } presenter;

    BuildStringClick(state, presenter);
    ASSERT_EQ(state.txtConnString, "PROVIDER=MSDASQL;DSN=Parcels;UID=tabvet;PWD=;Database=lists6;");
    ConnectButtonClick(state);
    ASSERT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
    QueryDbmsType(state);
    EXPECT_TRUE(ui.shown.empty()) << testing::PrintToString(ui.Lines());
    EXPECT_EQ(state.txtMajorVersion + "." + state.txtMinorVersion + "." + state.txtBugfix, "9.0.0");
}

}  // namespace
}  // namespace tabvet
