// The "Connect to Server" step without a database: the string box, the canned string and the logon
// dialog's hand-over to the main window.
#include <gtest/gtest.h>

#include <functional>

#include "db/connection_handling.h"
#include "db/connection_string.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::RecordingInteraction;

// Stands in for the window: while the dialog is "shown" it lets the test act as the user.
class ScriptedPresenter final : public LogonDialogPresenter {
  public:
    explicit ScriptedPresenter(std::function<void(frmODBCLogon&)> user) : user_(std::move(user)) {}
    void ShowModal(frmODBCLogon& dialog) override {
        ++shown;
        EXPECT_TRUE(dialog.Visible());
        user_(dialog);
        EXPECT_FALSE(dialog.Visible()) << "the dialog must be hidden before control returns";
    }
    int shown = 0;

  private:
    std::function<void(frmODBCLogon&)> user_;
};

class ConnectionSteps : public ::testing::Test {
  protected:
    ConnectionSteps() : state(ui) {
        state.odbcLogon = frmODBCLogon([] {
            return DriverManagerLists{.environmentAllocated = true,
                                      .dataSources = {{.name = "Roads", .driver = "PostgreSQL Unicode"}},
                                      .drivers = {"PostgreSQL Unicode"}};
        });
    }

    RecordingInteraction ui;
    MainState state;
};

TEST_F(ConnectionSteps, ConnectIsEnabledExactlyWhileTheStringIsNotEmpty) {
    const struct {
        const char* text;
        bool enabled;
    } cases[] = {{"DSN=x", true}, {"", false}, {" ", true}, {"\t", true}, {"", false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string("'") + c.text + "'");
        ConnectionStringChanged(state, c.text);
        EXPECT_EQ(state.txtConnString, c.text);
        EXPECT_EQ(state.cmdConnectEnabled, c.enabled);
    }
}

TEST_F(ConnectionSteps, CannedStringIsTheOracleExampleAndEnablesConnect) {
    CannedStringClick(state);
    EXPECT_EQ(state.txtConnString, std::string("Provider=MSDASQL;") + "Driver=Oracle in OraHome90;" +
                                       "Server=TSLGIS;" + "User Id=tsl;" + "Password=kqv");
    EXPECT_TRUE(state.cmdConnectEnabled);
    // The last pair has no semicolon and still reaches the driver, with the layer's keywords translated.
    EXPECT_EQ(TranslateConnectionString(state.txtConnString),
              "Driver=Oracle in OraHome90;Server=TSLGIS;UID=tsl;PWD=kqv");
}

TEST_F(ConnectionSteps, BuiltStringAndUpperCasedDatabaseGoToTheWindow) {
    state.g_sTslSystemTableDatabase = "OLD";
    ScriptedPresenter presenter([](frmODBCLogon& dialog) {
        EXPECT_EQ(dialog.txtDatabase, "OLD");  // loaded with the window's database
        dialog.cboDriversText = "PostgreSQL Unicode";
        dialog.txtServer = "gisdb01";
        dialog.txtUID = "tsl";
        dialog.txtPWD = "kqv";
        dialog.txtDatabase = "Parcels_2";
        dialog.OkClick();
    });
    BuildStringClick(state, presenter);
    EXPECT_EQ(presenter.shown, 1);
    EXPECT_EQ(
        state.txtConnString,
        "PROVIDER=MSDASQL;Driver=PostgreSQL Unicode;Server=gisdb01;UID=tsl;PWD=kqv;Database=Parcels_2;");
    EXPECT_TRUE(state.cmdConnectEnabled);
    EXPECT_EQ(state.g_sTslSystemTableDatabase, "PARCELS_2");
}

TEST_F(ConnectionSteps, AnEmptyDatabaseFieldEmptiesTheSystemTableDatabase) {
    state.g_sTslSystemTableDatabase = "OLD";
    ScriptedPresenter presenter([](frmODBCLogon& dialog) {
        dialog.DsnChoice(1);
        dialog.txtDatabase.clear();
        dialog.OkClick();
    });
    BuildStringClick(state, presenter);
    EXPECT_EQ(state.txtConnString, "PROVIDER=MSDASQL;DSN=Roads;UID=;PWD=;");
    EXPECT_EQ(state.g_sTslSystemTableDatabase, "");
}

TEST_F(ConnectionSteps, CancelAfterAnEarlierOkKeepsStringAndDatabase) {
    ScriptedPresenter ok([](frmODBCLogon& dialog) {
        dialog.DsnChoice(1);
        dialog.txtDatabase = "roads";
        dialog.OkClick();
    });
    BuildStringClick(state, ok);
    ConnectionStringChanged(state, "typed afterwards");
    ScriptedPresenter cancel([](frmODBCLogon& dialog) {
        EXPECT_EQ(dialog.txtDatabase, "roads");  // kept from the earlier opening
        dialog.txtDatabase = "other";
        dialog.CancelClick();
    });
    BuildStringClick(state, cancel);
    EXPECT_EQ(state.txtConnString, "typed afterwards");
    EXPECT_EQ(state.g_sTslSystemTableDatabase, "ROADS");
}

TEST_F(ConnectionSteps, AConnectionThatCannotBeMadeIsReported) {
    state.newConnection = [] { return std::unique_ptr<Connection>(); };
    ConnectionStringChanged(state, "DSN=x");
    ConnectButtonClick(state);
    EXPECT_EQ(ui.Lines(),
              (std::vector<std::string>{"Unexpected condition: clsConnErrorString.Build got NULL connection",
                                        "Error connecting to DBMS: Errors:\r\n"}));
    EXPECT_EQ(state.g_pAdoConn, nullptr);
    EXPECT_EQ(state.cmdConnectCaption, "Connect");
    EXPECT_TRUE(state.txtConnStringEnabled);
    EXPECT_FALSE(state.cmdQueryTypeEnabled);
}

}  // namespace
}  // namespace tabvet
