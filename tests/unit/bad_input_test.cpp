// Input a person gets wrong: version texts pasted with letters or numbers too big for the boxes, and
// headless arguments that are missing, repeated or unknown. Each gives a clear outcome and leaves the model
// as usable as before; none crashes.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "app/headless_options.h"
#include "app/headless_run.h"
#include "db/runtime_error.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "startup.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"

namespace tabvet {
namespace {

// The real catalogue on a connection that answers nothing: every statement fails like a missing table, so a
// run goes through all applicable tests without any database.
struct Window {
    Window() : state(ui) {
        EXPECT_TRUE(StartUp(state));
        auto conn = std::make_unique<testsupport::ScriptedConnection>();
        conn->Open("");
        state.g_pAdoConn = std::move(conn);
        OptionClick(state, DbmsOption::Oracle);
        state.now = [] { return std::string("<now>"); };
    }
    testsupport::RecordingInteraction ui;
    MainState state;
};

enum class Outcome { Runs, NeedsServerType, Overflow };

struct VersionCase {
    const char* major;
    const char* minor;
    const char* bugfix;
    Outcome outcome;
    int testsRun;  // with Outcome::Runs
};

TEST(PastedVersionTexts, RunTellWhyNotOrRaiseOverflowWithoutChangingAnything) {
    const VersionCase cases[] = {
        {"9abc", "0", "0", Outcome::Runs, 16},
        {" 9 ", "0x", "zero", Outcome::Runs, 16},
        {"9,5", "", "", Outcome::Runs, 16},
        {"9", "-0.5", "0", Outcome::Runs, 16},
        {"&H7FFF", "0", "0", Outcome::Runs, 0},  // 32767: no test knows that release
        {"-32768.5", "0", "0", Outcome::Runs, 0},
        {"abc", "0", "0", Outcome::NeedsServerType, 0},
        {"", "", "", Outcome::NeedsServerType, 0},
        {"nan", "1", "1", Outcome::NeedsServerType, 0},
        {"inf", "1", "1", Outcome::NeedsServerType, 0},
        {"\xD9\xA9", "0", "0", Outcome::NeedsServerType, 0},  // an Arabic-Indic nine is not a digit here
        {"0.4", "0", "0", Outcome::NeedsServerType, 0},
        {"99999", "0", "0", Outcome::Overflow, 0},
        {"-99999", "0", "0", Outcome::Overflow, 0},
        {"32767.5", "0", "0", Outcome::Overflow, 0},
        {"1e400", "0", "0", Outcome::Overflow, 0},
        {"&HFFFFFFFFFFFFFFFFFFFFFFFF", "0", "0", Outcome::Overflow, 0},
        {"9", "99999", "0", Outcome::Overflow, 0},
        {"9", "0", "1e5", Outcome::Overflow, 0},
    };
    for (const VersionCase& c : cases) {
        SCOPED_TRACE(std::string(c.major) + "|" + c.minor + "|" + c.bugfix);
        Window window;
        MainState& state = window.state;
        state.rtbStatus = "earlier log";
        state.stsRunFeedback = "earlier progress";
        state.txtMajorVersion = c.major;
        state.txtMinorVersion = c.minor;
        state.txtBugfix = c.bugfix;
        std::optional<RuntimeError> raised;
        try {
            ProcessRunTests(state);
        } catch (const RuntimeError& e) {
            raised = e;
        }
        switch (c.outcome) {
            case Outcome::Runs: {
                EXPECT_FALSE(raised);
                EXPECT_EQ(state.stsRunFeedback, "Testing complete.");
                int ran = 0;
                for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
                    ran += state.g_pTestCollection->Item(i)->WasRun() ? 1 : 0;
                }
                EXPECT_EQ(ran, c.testsRun);
                break;
            }
            case Outcome::NeedsServerType:
                EXPECT_FALSE(raised);
                EXPECT_EQ(window.ui.Lines(),
                          std::vector<std::string>{"Need Server Type: Please Select Server Type (DBMS type "
                                                   "and Tessel version)"});
                break;
            case Outcome::Overflow:
                // The window shows this in a box (its guard around every action); the model is untouched.
                ASSERT_TRUE(raised);
                EXPECT_EQ(DescribeRuntimeError(*raised), "Run-time error '6': Overflow");
                EXPECT_TRUE(window.ui.shown.empty());
                break;
        }
        if (c.outcome != Outcome::Runs) {
            EXPECT_EQ(state.rtbStatus, "earlier log");
            EXPECT_EQ(state.stsRunFeedback, "earlier progress");
            EXPECT_FALSE(state.g_bTestsWereRun);
        }
        // Corrected, the same model runs.
        state.txtMajorVersion = "9";
        state.txtMinorVersion = state.txtBugfix = "0";
        EXPECT_NO_THROW(ProcessRunTests(state));
        EXPECT_EQ(state.stsRunFeedback, "Testing complete.");
    }
}

struct ArgumentCase {
    std::vector<std::string> args;
    std::string error;
};

TEST(BadHeadlessArguments, EachMistakeIsOneLineThenTheUsageAndExitTwo) {
    const ArgumentCase cases[] = {
        {{"--connect", "--dbms", "oracle"}, "option --connect needs a value"},
        {{"--connect", "x", "--dbms"}, "option --dbms needs a value"},
        {{"--connect", "x", "--dbms", "--tessel-version", "9.0.0"}, "option --dbms needs a value"},
        {{"--connect", "x", "--report", "--json", "r.json"}, "option --report needs a value"},
        {{"--connect="}, "--connect needs a non-empty connection string"},
        {{"--connect", ""}, "--connect needs a non-empty connection string"},
        {{"--database", "gis"}, "--connect is required"},
        {{"--connect", "x", "--dbms=oracle", "--dbms", "db2"}, "option --dbms given more than once"},
        {{"--connect", "x", "--database", "a", "--database=b"}, "option --database given more than once"},
        {{"--version", "--version"}, "option --version given more than once"},
        {{"--help=yes"}, "option --help takes no value"},
        {{"--connect", "x", "--dbms", "ORACLE8"},
         "--dbms must be one of oracle, sqlserver, db2, informix (got 'ORACLE8')"},
        {{"--connect", "x", "--dbms="}, "--dbms must be one of oracle, sqlserver, db2, informix (got '')"},
        {{"--connect", "x", "--tessel-version", "9.0"},
         "--tessel-version must be MAJOR.MINOR.BUGFIX with numbers up to 32767 (got '9.0')"},
        {{"--connect", "x", "--tessel-version", "9.0.0.0"},
         "--tessel-version must be MAJOR.MINOR.BUGFIX with numbers up to 32767 (got '9.0.0.0')"},
        {{"--connect", "x", "--tessel-version", "9..0"},
         "--tessel-version must be MAJOR.MINOR.BUGFIX with numbers up to 32767 (got '9..0')"},
        {{"--connect", "x", "--tessel-version", "32768.0.0"},
         "--tessel-version must be MAJOR.MINOR.BUGFIX with numbers up to 32767 (got '32768.0.0')"},
        {{"--connect", "x", "--tessel-version", "99999999999999999999.0.0"},
         "--tessel-version must be MAJOR.MINOR.BUGFIX with numbers up to 32767 (got "
         "'99999999999999999999.0.0')"},
        {{"--connect", "x", "--tessel-version", "-1.0.0"},
         "--tessel-version must be MAJOR.MINOR.BUGFIX with numbers up to 32767 (got '-1.0.0')"},
        {{"--connect", "x", "--tessel-version", "9.a.0"},
         "--tessel-version must be MAJOR.MINOR.BUGFIX with numbers up to 32767 (got '9.a.0')"},
        {{"-c", "x"}, "unknown argument '-c'"},
        {{"connect", "x"}, "unknown argument 'connect'"},
        {{""}, "unknown argument ''"},
        {{"--CONNECT", "x"}, "unknown argument '--CONNECT'"},
        {{"--connect", "x", "stray"}, "unknown argument 'stray'"},
        {{"--connect", "x", "--"}, "unknown argument '--'"},
    };
    for (const ArgumentCase& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(RunHeadless(c.args, out, err), exit_code::kCannotStart);
        EXPECT_EQ(err.str(), "tabvet: " + c.error + "\n" + HeadlessUsage());
        EXPECT_EQ(out.str(), "");
    }
}

TEST(BadHeadlessArguments, AValueThatStartsWithDashesNeedsTheEqualsForm) {
    const ParsedArguments parsed = ParseHeadlessArguments({"--connect=--odd", "--database=--gis"});
    ASSERT_TRUE(parsed.options) << parsed.error;
    EXPECT_EQ(parsed.options->connect, "--odd");
    EXPECT_EQ(parsed.options->database, "--gis");
}

}  // namespace
}  // namespace tabvet
