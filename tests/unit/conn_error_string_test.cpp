// The error-list text every failure is reported with (the connect box that shows it is tested with the real
// driver's messages).
#include <gtest/gtest.h>

#include "db/conn_error_string.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

using testsupport::RecordingInteraction;
using testsupport::ScriptedConnection;

// A connection whose error list holds exactly `errors` (a failed scripted statement fills it).
void FillErrors(ScriptedConnection& conn, std::vector<AdoError> errors) {
    conn.Open("");
    conn.Answer("SELECT fail", testsupport::Failure(std::move(errors)));
    ResultTable ignored;
    conn.Query("SELECT fail", ignored);
}

TEST(ConnErrorStringTest, TextForEmptyOneAndTwoErrors) {
    struct Case {
        std::vector<AdoError> errors;
        std::string expected;
    };
    const Case cases[] = {
        {{}, ">>>> No errors found on connection handle"},
        {{{3709, "abc"}}, "\r\n>>>> Err#3709: abc"},
        {{{1, "ERROR: relation \"tsl.version\" does not exist;\nError while executing the query"},
          {-2147217900, "x"}},
         "\r\n>>>> Err#1: ERROR: relation \"tsl.version\" does not exist;\nError while executing the query"
         "\r\n>>>> Err#-2147217900: x"},
    };
    for (const Case& c : cases) {
        RecordingInteraction ui;
        ScriptedConnection conn;
        FillErrors(conn, c.errors);
        clsConnErrorString formatter(ui);
        EXPECT_EQ(formatter.Build(&conn), c.expected);
        EXPECT_EQ(formatter.Value(), c.expected);
        EXPECT_TRUE(ui.shown.empty());
    }
}

TEST(ConnErrorStringTest, SecondBuildAppendsButAnEmptyListReplaces) {
    RecordingInteraction ui;
    ScriptedConnection conn;
    clsConnErrorString formatter(ui);
    FillErrors(conn, {{1, "first"}});
    formatter.Build(&conn);
    FillErrors(conn, {{2, "second"}});
    EXPECT_EQ(formatter.Build(&conn), "\r\n>>>> Err#1: first\r\n>>>> Err#2: second");
    conn.Errors().Clear();
    EXPECT_EQ(formatter.Build(&conn), ">>>> No errors found on connection handle");
}

TEST(ConnErrorStringTest, NullConnectionShowsTheUnexpectedConditionBox) {
    RecordingInteraction ui;
    clsConnErrorString formatter(ui);
    EXPECT_EQ(formatter.Build(nullptr), "");
    ASSERT_EQ(ui.Lines(),
              std::vector<std::string>{"Unexpected condition: clsConnErrorString.Build got NULL connection"});
    EXPECT_EQ(ui.shown[0].buttons, MsgButtons::Ok);
}

}  // namespace
}  // namespace tabvet
