// The logon dialog's lists from the real unixODBC driver manager, read from ini files of the test's own,
// and a data source chosen in the dialog carried through to a connection and a detection.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <utility>
#include <vector>

#include "db/connection_handling.h"
#include "db/server_type_detection.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

// unixODBC takes the home folder from the password database rather than HOME, so the user file is named
// through ODBCINI; and it remembers the system folder after first use, so one folder serves the process.
class DriverLists : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        PgCluster::Shared().CreateDatabase("lists6", {"tessel_schema.sql", "healthy_version.sql"});
        std::string folder = (std::filesystem::temp_directory_path() / "tabvet-odbcini.XXXXXX").string();
        ASSERT_NE(::mkdtemp(folder.data()), nullptr);
        dir_ = folder;
        std::ofstream(dir_ / "odbcinst.ini") << "[PostgreSQL Unicode]\nDriver=psqlodbcw.so\nCommLog=0\n"
                                                "[Zeta Driver]\nDriver=libtabvet-zeta.so\n"
                                                "[alpha driver]\nDriver=libtabvet-alpha.so\n";
        // Parcels names another database than the dialog asks for below: the dialog's must win.
        std::ofstream(dir_ / "odbc.ini")
            << "[Parcels]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort="
            << PgCluster::Shared().Port()
            << "\nDatabase=postgres\n"
               "[Roads]\nDriver=PostgreSQL Unicode\n"
               "[Legacy]\nDriver=Retired Driver\n";
        std::ofstream(dir_ / "user.ini") << "[Mine]\nDriver=alpha driver\n";
        Replace("ODBCSYSINI", dir_.string());
        Replace("ODBCINI", (dir_ / "user.ini").string());
    }
    static void TearDownTestSuite() {
        for (const auto& [name, value] : saved_) {
            value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
        }
        std::filesystem::remove_all(dir_);
    }

  private:
    static void Replace(const std::string& name, const std::string& value) {
        const char* old = std::getenv(name.c_str());
        saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        ::setenv(name.c_str(), value.c_str(), 1);
    }

    static inline std::filesystem::path dir_;
    static inline std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
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
    MainState state(ui);
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
    EXPECT_EQ(state.selectedDbms, DbmsOption::Oracle);
    EXPECT_EQ(state.txtMajorVersion + "." + state.txtMinorVersion + "." + state.txtBugfix, "9.0.0");
}

}  // namespace
}  // namespace tabvet
