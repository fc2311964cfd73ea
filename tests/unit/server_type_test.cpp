// Server-type step without a database: the version boxes' key filter and number conversion, detection
// before connecting, and Informix naming, which has no stand-in database.
#include <gtest/gtest.h>

#include <optional>

#include "db/runtime_error.h"
#include "db/server_type_detection.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

using testsupport::RecordingInteraction;
using testsupport::Rows;
using testsupport::ScriptedConnection;

constexpr int kBackspace = 8;

// A version box as the window keeps it: filtered keys go in at the end, backspace takes the last one.
std::string TypeInto(std::string box, const std::vector<int>& keys) {
    for (const int key : keys) {
        if (!VersionKeyPasses(key)) {
            continue;
        }
        if (key == kBackspace) {
            if (!box.empty()) {
                box.pop_back();
            }
        } else {
            box.push_back(static_cast<char>(key));
        }
    }
    return box;
}

struct VersionBoxCase {
    const char* label;
    const char* startText;  // what the box held, e.g. filled by detection from a field
    std::vector<int> keys;
    const char* boxText;
    std::optional<int> number;  // empty: the conversion overflows
};

const VersionBoxCase kVersionBoxCases[] = {
    {"digits pass", "", {'1', '2'}, "12", 12},
    {"letter, minus and full stop are discarded", "", {'a', '-', '.', '7'}, "7", 7},
    {"neighbours of the digit codes are discarded", "", {'/', ':'}, "", 0},
    {"blank, tab, enter and delete are discarded", "", {' ', '\t', '\r', 127, '5'}, "5", 5},
    {"digits of other scripts are discarded", "", {0x0660, 0xFF10, '3'}, "3", 3},
    {"backspace deletes the last digit", "9", {'0', kBackspace}, "9", 9},
    {"backspace on an empty box", "", {kBackspace}, "", 0},
    {"empty box is zero", "", {}, "", 0},
    {"leading zeros", "", {'0', '0', '7'}, "007", 7},
    {"largest number", "", {'3', '2', '7', '6', '7'}, "32767", 32767},
    {"beyond sixteen bits overflows", "", {'3', '2', '7', '6', '8'}, "32768", std::nullopt},
    {"negative field value", "-1", {}, "-1", -1},
    {"half rounds to even upwards", "7.5", {}, "7.5", 8},
    {"half rounds to even downwards", "6.5", {}, "6.5", 6},
    {"blanks around a field value", " 12 ", {}, " 12 ", 12},
    {"text after the number is ignored", "9b", {}, "9b", 9},
};

TEST(VersionBoxes, KeyFilterAndConversion) {
    for (const VersionBoxCase& c : kVersionBoxCases) {
        SCOPED_TRACE(c.label);
        const std::string box = TypeInto(c.startText, c.keys);
        EXPECT_EQ(box, c.boxText);
        if (c.number) {
            EXPECT_EQ(VersionBoxNumber(box), *c.number);
        } else {
            EXPECT_THROW(VersionBoxNumber(box), RuntimeError);
        }
    }
}

class DetectionWithoutDatabase : public ::testing::Test {
  protected:
    DetectionWithoutDatabase() : state(ui) {
        state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
        state.g_cConnErrStr = std::make_unique<clsConnErrorString>(ui);
    }

    RecordingInteraction ui;
    MainState state;
};

TEST_F(DetectionWithoutDatabase, BeforeConnectingNothingChanges) {
    state.selectedDbms = DbmsOption::DB2;
    state.txtMajorVersion = "9";
    state.txtMinorVersion = "1";
    state.txtBugfix = "2";
    QueryDbmsType(state);
    EXPECT_EQ(ui.Lines(), (std::vector<std::string>{"Query DBMS: Please connect to DBMS first."}));
    EXPECT_EQ(state.selectedDbms, DbmsOption::DB2);
    EXPECT_EQ(state.txtMajorVersion, "9");
    EXPECT_EQ(state.txtMinorVersion, "1");
    EXPECT_EQ(state.txtBugfix, "2");
    EXPECT_EQ(state.g_QDON->DbmsTypeCode(), dbtype::kNotSetUp);
}

// Informix names (database:owner.table) have no stand-in database, so the server is scripted.
TEST_F(DetectionWithoutDatabase, InformixNamingIsProbedSecond) {
    auto conn = std::make_unique<ScriptedConnection>();
    ScriptedConnection& scripted = *conn;
    scripted.Open("");
    scripted.Answer("SELECT major, minor, bugfix, release, description FROM GIS:TSL.VERSION",
                    Rows(5, {{"9", "1", "3", "0", "Tessel for Informix Dynamic Server"}}));
    state.g_pAdoConn = std::move(conn);
    state.g_sTslSystemTableDatabase = "GIS";

    QueryDbmsType(state);

    EXPECT_EQ(
        scripted.Sent(),
        (std::vector<std::string>{"SELECT major, minor, bugfix, release, description FROM GIS.TSL.VERSION",
                                  "SELECT major, minor, bugfix, release, description FROM GIS:TSL.VERSION"}));
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_EQ(state.selectedDbms, DbmsOption::Informix);
    EXPECT_EQ(state.g_QDON->DbmsTypeCode(), dbtype::kInformix);
    EXPECT_EQ(state.g_QDON->TslSystemTable("LAYERS"), "GIS:TSL.LAYERS");
    EXPECT_EQ(state.txtMajorVersion, "9");
    EXPECT_EQ(state.txtMinorVersion, "1");
    EXPECT_EQ(state.txtBugfix, "3");
}

TEST_F(DetectionWithoutDatabase, OptionClickSetsTheNamerUpWithTheLogonDatabase) {
    state.g_sTslSystemTableDatabase = "PARCELS";
    OptionClick(state, DbmsOption::SqlServer);
    EXPECT_EQ(state.selectedDbms, DbmsOption::SqlServer);
    EXPECT_EQ(state.g_QDON->TslSystemTable("VERSION"), "PARCELS.TSL.tsl_VERSION");
    OptionClick(state, DbmsOption::Oracle);
    EXPECT_EQ(state.selectedDbms, DbmsOption::Oracle);
    EXPECT_EQ(state.g_QDON->TslSystemTable("VERSION"), "TSL.VERSION");
}

}  // namespace
}  // namespace tabvet
