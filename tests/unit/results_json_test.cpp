// The machine-readable results: string escaping, times, and a document a strict reader accepts whole.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "report/json_text.h"
#include "report/results_json.h"
#include "support/fake_test.h"
#include "support/mini_json.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::FakeTest;
using testsupport::Json;
using testsupport::JsonParser;

TEST(JsonString, EscapesWhatJsonForbidsAndKeepsValidUtf8) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"say \"hi\"", "\"say \\\"hi\\\"\""},
        {"a\r\nb\tc", "\"a\\r\\nb\\tc\""},
        {std::string("\x01\x1f\x7f\b\f", 5), "\"\\u0001\\u001f\\u007f\\b\\f\""},
        {std::string("nul\0end", 7), "\"nul\\u0000end\""},
        {"Stra\xC3\x9F"
         "e \xE2\x82\xAC \xF0\x9F\x97\xBA",
         "\"Stra\xC3\x9F"
         "e \xE2\x82\xAC \xF0\x9F\x97\xBA\""},
        {"latin1 \xFC!", "\"latin1 \\ufffd!\""},
        {"cut \xC3", "\"cut \\ufffd\""},
        {"overlong \xC0\xAF", "\"overlong \\ufffd\\ufffd\""},
        {"surrogate \xED\xA0\x80", "\"surrogate \\ufffd\\ufffd\\ufffd\""},
        {"stray \x80 continuation", "\"stray \\ufffd continuation\""},
    };
    for (const auto& [text, expected] : cases) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(JsonString(text), expected);
    }
}

TEST(JsonString, EveryAsciiCharacterSurvivesAStrictReaderThatRefusesInvalidDocuments) {
    std::string all;
    for (int c = 0; c < 128; ++c) {
        all.push_back(static_cast<char>(c));
    }
    all += "\xC3\xA9\xE2\x80\xA8\xF0\x9F\x98\x80";  // and some multi-byte characters, U+2028 included
    EXPECT_EQ(JsonParser::Parse(JsonString(all)).String(), all);
    // The reader must refuse what is not JSON, or the documents it accepts prove nothing.
    for (const char* invalid : {"[1,]", "{\"a\":1 \"b\":2}", "\"tab\there\"", "\"\\x\"", "01", "[1] x",
                                "\"\xC3\"", "\"\\ud800\"", "nul", "{a:1}"}) {
        EXPECT_THROW(JsonParser::Parse(invalid), std::runtime_error) << invalid;
    }
}

// Sets TZ for one test and restores the previous zone afterwards.
struct TimeZone {
    explicit TimeZone(const char* zone) : old(std::getenv("TZ") ? std::getenv("TZ") : "") {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        old.empty() ? unsetenv("TZ") : setenv("TZ", old.c_str(), 1);
        tzset();
    }
    std::string old;
};

TEST(IsoLocalTime, GivesLocalTimeWithMillisecondsAndOffset) {
    const auto time = std::chrono::system_clock::from_time_t(86400 * 365) + std::chrono::milliseconds(1250);
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"UTC0", "1971-01-01T00:00:01.250+00:00"},
        {"NST3:30", "1970-12-31T20:30:01.250-03:30"},
    };
    for (const auto& [zone, expected] : cases) {
        SCOPED_TRACE(zone);
        TimeZone tz(zone);
        EXPECT_EQ(IsoLocalTime(time), expected);
    }
}

class ResultsJsonTest : public ::testing::Test {
  protected:
    ResultsJsonTest() {
        state.selectedDbms = DbmsOption::Oracle;
        state.txtMajorVersion = "9";
        state.txtMinorVersion = "1";
        state.txtBugfix = "0";
        record.started = "2025-02-01T13:04:05.000+01:00";
        record.finished = "2025-02-01T13:04:06.500+01:00";
    }

    // Six entries, one for each way a catalogue entry can end up.
    void SixEntries(bool withError) {
        state.g_pTestCollection = testsupport::FakeCatalogue({
            {.name = "passes",
             .category = "Environment",
             .resultDetails = "fine",
             .pass = true,
             .wasRun = true},
            {.name = "fails",
             .resultDetails = "\r\n>>>> \"GIS\".ROADS\r\n>>>> Stra\xC3\x9F"
                              "e",
             .wasRun = true},
            {.name = "switched off", .enabled = false},
            {.name = "too new", .versionRule = VersionRule::V4},
            {.name = "not for oracle", .oracle = false},
            {.name = "after the error"},
        });
        record.tests = {{.entered = true, .durationMs = 12.5},
                        {.entered = true, .endedRun = withError, .durationMs = 0.25},
                        {},
                        {},
                        {},
                        {}};
        if (withError) {
            record.error = "Run-time error '94': Invalid use of Null";
        }
    }

    Json Parsed() const { return JsonParser::Parse(ResultsJson(state, record)); }

    testsupport::RecordingInteraction ui;
    MainState state{ui};
    RunRecord record;
};

TEST_F(ResultsJsonTest, DescribesEveryCatalogueEntryAndTheRun) {
    SixEntries(true);
    const Json doc = Parsed();
    EXPECT_EQ(doc.Keys(),
              (std::vector<std::string>{"started", "finished", "outcome", "error", "target", "tests"}));
    EXPECT_EQ(doc["started"].String(), record.started);
    EXPECT_EQ(doc["finished"].String(), record.finished);
    EXPECT_EQ(doc["outcome"].String(), "error");
    EXPECT_EQ(doc["error"].String(), "Run-time error '94': Invalid use of Null");

    // name, ran, notRunReason, verdict, resultDetails, durationMs: one line per entry, null as "-".
    auto text = [](const Json& v) { return v.IsNull() ? std::string("-") : v.String(); };
    std::vector<std::string> entries;
    const testsupport::JsonArray& tests = doc["tests"].Array();
    for (std::size_t i = 0; i < tests.size(); ++i) {
        const Json& t = tests[i];
        EXPECT_EQ(t.Keys(), (std::vector<std::string>{"position", "name", "category", "ran", "notRunReason",
                                                      "verdict", "resultDetails", "durationMs"}));
        EXPECT_EQ(t["position"].Number(), static_cast<double>(i + 1));
        entries.push_back(t["name"].String() + "|" + (t["ran"].Bool() ? "ran" : "not run") + "|" +
                          text(t["notRunReason"]) + "|" + text(t["verdict"]) + "|" +
                          t["resultDetails"].String() + "|" +
                          (t["durationMs"].IsNull() ? "-" : std::to_string(t["durationMs"].Number())));
    }
    EXPECT_EQ(entries, (std::vector<std::string>{
                           "passes|ran|-|passed|fine|12.500000",
                           "fails|ran|-|error|\r\n>>>> \"GIS\".ROADS\r\n>>>> Stra\xC3\x9F"
                           "e|0.250000",
                           "switched off|not run|disabled|-|Not Run|-",
                           "too new|not run|version|-|Not Run|-",
                           "not for oracle|not run|dbms|-|Not Run|-",
                           "after the error|not run|aborted|-|Not Run|-",
                       }));
    EXPECT_EQ(tests[0]["category"].String(), "Environment");
}

TEST_F(ResultsJsonTest, OutcomeFollowsTheTestsThatRanThisTime) {
    SixEntries(false);
    EXPECT_EQ(Parsed()["outcome"].String(), "failed");
    EXPECT_TRUE(Parsed()["error"].IsNull());
    EXPECT_EQ(Parsed()["tests"].Array()[1]["verdict"].String(), "failed");

    record.tests[1].entered = false;  // the failing verdict is from an earlier run
    EXPECT_EQ(Parsed()["outcome"].String(), "passed");
}

TEST_F(ResultsJsonTest, NamesTheTarget) {
    state.g_pTestCollection = testsupport::FakeCatalogue({});
    const std::vector<std::pair<DbmsOption, const char*>> dbmsNames = {
        {DbmsOption::Oracle, "oracle"},
        {DbmsOption::SqlServer, "sqlserver"},
        {DbmsOption::Informix, "informix"},
    };
    for (const auto& [option, name] : dbmsNames) {
        state.selectedDbms = option;
        EXPECT_EQ(Parsed()["target"]["dbms"].String(), name);
    }
    state.selectedDbms = DbmsOption::None;
    EXPECT_TRUE(Parsed()["target"]["dbms"].IsNull());

    EXPECT_EQ(Parsed()["target"]["tesselVersion"].String(), "9.1.0");
    EXPECT_TRUE(Parsed()["target"]["database"].IsNull());
    state.g_sTslSystemTableDatabase = "TSL";
    EXPECT_EQ(Parsed()["target"]["database"].String(), "TSL");
    EXPECT_TRUE(Parsed()["tests"].Array().empty());
}

}  // namespace
}  // namespace tabvet
