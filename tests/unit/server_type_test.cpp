// The version boxes' key filter and number conversion, and detection where no stand-in database helps:
// before connecting, and the probing order down to the last naming style.
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

using testsupport::Rows;

constexpr int kBackspace = 8;

struct VersionBoxCase {
    const char* startText;  // e.g. filled by detection from a field
    std::vector<int> keys;  // typed at the end of the box
    const char* boxText;
    std::optional<int> number;  // empty: the conversion overflows
};

const VersionBoxCase kVersionBoxCases[] = {
    {"", {'1', 'a', '-', '.', '2'}, "12", 12},
    {"", {'/', ':', ' ', '\t', 127, 0x0660, 0xFF10}, "", 0},  // neighbours of the digits, other scripts
    {"9", {'0', kBackspace}, "9", 9},
    {"", {'0', '0', '7'}, "007", 7},
    {"", {'3', '2', '7', '6', '7'}, "32767", 32767},
    {"", {'3', '2', '7', '6', '8'}, "32768", std::nullopt},
    {"-1", {}, "-1", -1},
    {"7.5", {}, "7.5", 8},
    {" 12 ", {}, " 12 ", 12},
};

TEST(VersionBoxes, KeyFilterAndConversion) {
    for (const VersionBoxCase& c : kVersionBoxCases) {
        std::string box = c.startText;
        for (const int key : c.keys) {
            if (VersionKeyPasses(key) && key == kBackspace && !box.empty()) {
                box.pop_back();
            } else if (VersionKeyPasses(key) && key != kBackspace) {
                box.push_back(static_cast<char>(key));
            }
        }
        SCOPED_TRACE("box '" + box + "'");
        EXPECT_EQ(box, c.boxText);
        if (c.number) {
            EXPECT_EQ(VersionBoxNumber(box), *c.number);
        } else {
            EXPECT_THROW(VersionBoxNumber(box), RuntimeError);
        }
    }
}

TEST(ScriptedDetection, NeedsAConnectionAndProbesEveryStyleInOrder) {
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    state.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    state.g_cConnErrStr = std::make_unique<clsConnErrorString>(ui);
    state.selectedDbms = DbmsOption::DB2;
    QueryDbmsType(state);
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{"Query DBMS: Please connect to DBMS first."});
    EXPECT_EQ(state.selectedDbms, DbmsOption::DB2);

    // Informix names have no stand-in database; only the SQL Server style answers here.
    auto conn = std::make_unique<testsupport::ScriptedConnection>();
    const auto& sent = conn->Sent();
    conn->Open("");
    const std::string select = "SELECT major, minor, bugfix, release, description FROM ";
    conn->Answer(select + "GIS.TSL.tsl_VERSION", Rows(5, {{"9", "1", "3", "0", "Tessel for Informix"}}));
    state.g_pAdoConn = std::move(conn);
    state.g_sTslSystemTableDatabase = "GIS";
    ui.shown.clear();
    QueryDbmsType(state);
    EXPECT_EQ(sent, (std::vector<std::string>{select + "GIS.TSL.VERSION", select + "GIS:TSL.VERSION",
                                              select + "TSL.VERSION", select + "GIS.TSL.tsl_VERSION"}));
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_EQ(state.selectedDbms, DbmsOption::Informix);
    EXPECT_EQ(state.g_QDON->TslSystemTable("LAYERS"), "GIS:TSL.LAYERS");
    EXPECT_EQ(state.txtMajorVersion + "." + state.txtMinorVersion + "." + state.txtBugfix, "9.1.3");
}

}  // namespace
}  // namespace tabvet
