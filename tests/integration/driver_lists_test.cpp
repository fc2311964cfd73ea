// The logon dialog's lists from the real unixODBC driver manager, read from ini files of the test's own,
// and a data source chosen in the dialog carried through to a connection and a detection.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "db/connection_handling.h"
#include "db/driver_lists.h"
#include "db/server_type_detection.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;
using testsupport::RecordingInteraction;

constexpr const char* kDatabase = "lists6";

// Sets an environment variable for the life of the object and puts the old value back afterwards.
class ScopedEnv {
  public:
    ScopedEnv(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name)) {
            old_ = old;
        }
        ::setenv(name, value.c_str(), 1);
    }
    ~ScopedEnv() {
        if (old_) {
            ::setenv(name_, old_->c_str(), 1);
        } else {
            ::unsetenv(name_);
        }
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

  private:
    const char* name_;
    std::optional<std::string> old_;
};

// A folder with the driver manager's three ini files. unixODBC takes the home folder from the password
// database rather than HOME, so the user file is named through ODBCINI as well.
class OdbcIniFolder {
  public:
    OdbcIniFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tabvet-odbcini.XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot create a folder for the ini files");
        }
        dir_ = pattern;
        Write("odbcinst.ini",
              "[PostgreSQL Unicode]\nDriver=psqlodbcw.so\n\n"
              "[Zeta Driver]\nDriver=libtabvet-zeta.so\n\n"
              "[alpha driver]\nDriver=libtabvet-alpha.so\n");
        // Parcels names another database than the one the dialog asks for: the dialog's wins.
        Write("odbc.ini", "[Parcels]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort=" +
                              std::to_string(PgCluster::Shared().Port()) +
                              "\nDatabase=postgres\n\n"
                              "[Roads]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\n\n"
                              "[Legacy]\nDriver=Retired Driver\n");
        Write("user.ini", "[Mine]\nDriver=alpha driver\n");
        sysIni_.emplace("ODBCSYSINI", dir_.string());
        userIni_.emplace("ODBCINI", (dir_ / "user.ini").string());
    }
    ~OdbcIniFolder() {
        userIni_.reset();
        sysIni_.reset();
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }

  private:
    void Write(const char* name, const std::string& text) const {
        std::ofstream file(dir_ / name);
        file << text;
        if (!file) {
            throw std::runtime_error(std::string("cannot write ") + name);
        }
    }

    std::filesystem::path dir_;
    std::optional<ScopedEnv> sysIni_;
    std::optional<ScopedEnv> userIni_;
};

// unixODBC remembers the system ini folder after its first use, so one folder serves the whole process.
class DriverLists : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        PgCluster::Shared().CreateDatabase(kDatabase, {"tessel_schema.sql", "healthy_version.sql"});
        ini_ = std::make_unique<OdbcIniFolder>();
    }
    static void TearDownTestSuite() { ini_.reset(); }

  private:
    static inline std::unique_ptr<OdbcIniFolder> ini_;
};

TEST_F(DriverLists, DriverManagerGivesUserThenSystemDataSourcesAndTheInstalledDrivers) {
    const DriverManagerLists lists = ReadDriverManagerLists();
    ASSERT_TRUE(lists.environmentAllocated);
    std::vector<std::string> dataSources;
    for (const DataSourceEntry& dsn : lists.dataSources) {
        dataSources.push_back(dsn.name + " -> " + dsn.driver);
    }
    EXPECT_EQ(dataSources,
              (std::vector<std::string>{"Mine -> alpha driver", "Parcels -> PostgreSQL Unicode",
                                        "Roads -> PostgreSQL Unicode", "Legacy -> Retired Driver"}));
    EXPECT_EQ(lists.drivers, (std::vector<std::string>{"PostgreSQL Unicode", "Zeta Driver", "alpha driver"}));
}

TEST_F(DriverLists, DialogListsEachDriverOnceInSortedOrder) {
    frmODBCLogon dialog;
    dialog.Show("");
    EXPECT_EQ(dialog.cboDSNList, (std::vector<std::string>{"(None)", "Mine", "Parcels", "Roads", "Legacy"}));
    // PostgreSQL Unicode is used by two data sources and installed: listed once. Retired Driver is only
    // named by a data source; Zeta Driver is only installed.
    EXPECT_EQ(dialog.cboDrivers, (std::vector<std::string>{"alpha driver", "PostgreSQL Unicode",
                                                           "Retired Driver", "Zeta Driver"}));
    EXPECT_EQ(dialog.cboDSNListIndex, 0);
    EXPECT_TRUE(dialog.txtServerEnabled);
    EXPECT_TRUE(dialog.cboDriversEnabled);
}

TEST_F(DriverLists, ADataSourceChosenInTheDialogConnectsAndIsDetected) {
    RecordingInteraction ui;
    MainState state(ui);
    state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    state.g_cConnErrStr = std::make_unique<clsConnErrorString>(ui);
    struct ChooseParcels final : LogonDialogPresenter {
        void ShowModal(frmODBCLogon& dialog) override {
            const auto it = std::find(dialog.cboDSNList.begin(), dialog.cboDSNList.end(), "Parcels");
            ASSERT_NE(it, dialog.cboDSNList.end());
            dialog.DsnChoice(static_cast<int>(it - dialog.cboDSNList.begin()));
            dialog.txtUID = "tabvet";
            dialog.txtDatabase = kDatabase;
            dialog.OkClick();
        }
    } presenter;

    BuildStringClick(state, presenter);
    ASSERT_EQ(state.txtConnString, "PROVIDER=MSDASQL;DSN=Parcels;UID=tabvet;PWD=;Database=lists6;");
    ConnectButtonClick(state);
    ASSERT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
    QueryDbmsType(state);

    EXPECT_TRUE(ui.shown.empty()) << testing::PrintToString(ui.Lines());
    EXPECT_EQ(state.g_sTslSystemTableDatabase, "LISTS6");
    EXPECT_EQ(state.selectedDbms, DbmsOption::Oracle);
    EXPECT_EQ(state.g_QDON->TslSystemTable("LAYERS"), "TSL.LAYERS");
    EXPECT_EQ(state.txtMajorVersion, "9");
    EXPECT_EQ(state.txtMinorVersion, "0");
    EXPECT_EQ(state.txtBugfix, "0");
}

}  // namespace
}  // namespace tabvet
