// Findings without a database: keys that no name can make collide, the listings of the membership checks
// (reached only through a scripted connection, as no real driver starts a cursor past its last row), what a
// baseline file must hold, and how a run against a baseline comes out.
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "app/headless/headless_run.h"
#include "checks/catalogue.h"
#include "report/baseline.h"
#include "report/finding_key.h"
#include "support/check_environment.h"
#include "support/scripted_connection.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::CheckEnvironment;
using testsupport::ScriptedConnection;
using Field = IdentityField;

Finding Make(FindingKind kind, std::vector<std::pair<IdentityField, FieldValue>> values) {
    Finding finding{.kind = kind};
    for (auto& [field, value] : values) {
        finding.identity.Set(field, std::move(value));
    }
    return finding;
}

TEST(FindingKeys, AreCanonicalJsonThatNoNameCanMakeCollide) {
    const Finding quoted = Make(FindingKind::MissingColumn, {{Field::Column, std::nullopt},
                                                             {Field::Table, "Ro\"ad"},
                                                             {Field::Owner, "GIS"},
                                                             {Field::SystemTable, "LAYERS"}});
    EXPECT_EQ(FindingKey(quoted),
              R"(["missing-column",{"systemTable":"LAYERS","owner":"GIS","table":"Ro\"ad","column":null}])");
    EXPECT_EQ(FindingKey(Make(FindingKind::LookupError, {{Field::Table, "\xE9\x01"}})),
              R"(["lookup-error",{"table":"\udce9\u0001"}])");

    // Each finding differs from every other in one way a careless key would lose.
    const std::vector<Finding> distinct = {
        Make(FindingKind::MissingTableOrView, {{Field::Owner, "A.B"}, {Field::Table, "C"}}),
        Make(FindingKind::MissingTableOrView, {{Field::Owner, "A"}, {Field::Table, "B.C"}}),
        Make(FindingKind::MissingTableOrView, {{Field::Owner, "A"}, {Field::Table, R"(B","table":"C)"}}),
        Make(FindingKind::MissingTableOrView,
             {{Field::Owner, "A"}, {Field::Table, "B"}, {Field::Column, ""}}),
        Make(FindingKind::MissingTableOrView,
             {{Field::Owner, "A"}, {Field::Table, "B"}, {Field::Column, " "}}),
        Make(FindingKind::MissingTableOrView,
             {{Field::Owner, "A"}, {Field::Table, "B"}, {Field::Column, std::nullopt}}),
        Make(FindingKind::MissingTableOrView, {{Field::Owner, "A"}, {Field::Table, "B"}}),
        Make(FindingKind::MissingColumn, {{Field::Owner, "A"}, {Field::Table, "B"}}),
        Make(FindingKind::MissingTableOrView, {{Field::Owner, "B"}, {Field::Table, "A"}}),
        Make(FindingKind::MissingTableOrView, {{Field::Table, "A"}, {Field::Column, "B"}}),
        Make(FindingKind::LookupError, {{Field::Table, "\t"}}),
        Make(FindingKind::LookupError, {{Field::Table, "\\t"}}),
        Make(FindingKind::LookupError, {{Field::Table, std::string("a\0b", 3)}}),
        Make(FindingKind::LookupError, {{Field::Table, "a"}}),
        Make(FindingKind::LookupError, {{Field::Table, "\xE9"}}),
        Make(FindingKind::LookupError, {{Field::Table, "\xE8"}}),
        Make(FindingKind::LookupError, {{Field::Table, "\xC3\xA9"}}),
        Make(FindingKind::LookupError, {{Field::Table, "\xEF\xBF\xBD"}}),
        Make(FindingKind::LookupError, {{Field::Table, "\\udce9"}}),
    };
    std::set<std::string> keys;
    for (const Finding& finding : distinct) {
        EXPECT_TRUE(keys.insert(FindingKey(finding)).second) << FindingKey(finding);
    }
    // The error texts and the order of the calls that set the identity are not part of it.
    Finding again = quoted;
    again.driverErrors = {{1, "ERROR: column a.geom does not exist", "42703"}};
    EXPECT_EQ(FindingKey(again), FindingKey(quoted));
}

// Runs one membership check on rows a scripted connection reports past their end, the state in which these
// checks list; prints each finding as kind and identity.
std::vector<std::string> Listed(const char* className, std::int32_t dbms, std::size_t columns,
                                std::vector<std::vector<FieldValue>> rows, bool* truncated = nullptr) {
    const CheckEnvironment env(dbms, dbms == dbtype::kOracle ? kNoDatabaseName : "GISDB");
    ScriptedConnection conn;
    conn.Open("");
    conn.AnswerOthers([&](const std::string&) {
        testsupport::ScriptedAnswer answer = testsupport::Rows(columns, rows);
        answer.freshCursorAfterLast = true;
        return answer;
    });
    const auto check = CreateCheck(className, env);
    check->Run(&conn);
    EXPECT_FALSE(check->Pass());
    const auto& found = dynamic_cast<const FindingSource&>(*check).Findings();
    std::vector<std::string> printed;
    for (const Finding& finding : found.findings) {
        printed.push_back(std::string(FindingKindWord(finding.kind)) + " " +
                          IdentityObject(finding.identity, true, StrayByte::Replaced));
    }
    if (truncated != nullptr) {
        *truncated = found.truncated;
    }
    return printed;
}

TEST(MembershipFindings, EveryRowIsFoundTheLimitedListingOnlyShortensTheText) {
    // Seven rows: five are listed, the last two only found; the NULL owner of the last one is never
    // converted, so it raises nothing. Schema and table keep their own names, not the listing's exchange.
    std::vector<std::vector<FieldValue>> rows;
    for (int i = 1; i <= 7; ++i) {
        rows.push_back({"S" + std::to_string(i), "T" + std::to_string(i), "GISDB"});
    }
    rows.back()[0] = std::nullopt;
    bool truncated = true;
    const std::vector<std::string> geometry =
        Listed("clsTst_GeomColInLyr", dbtype::kSqlServer, 3, rows, &truncated);
    ASSERT_EQ(geometry.size(), 7u);
    EXPECT_FALSE(truncated);
    EXPECT_EQ(
        geometry[0],
        R"(orphaned-entry {"systemTable":"GEOMETRY_COLUMNS","partnerTable":"LAYERS","database":"GISDB",)"
        R"("owner":"S1","table":"T1"})");
    EXPECT_EQ(
        geometry[6],
        R"(orphaned-entry {"systemTable":"GEOMETRY_COLUMNS","partnerTable":"LAYERS","database":"GISDB",)"
        R"("owner":null,"table":"T7"})");

    // The loop that counts before its entry stops at the limit row; the rows after it are found alike. A
    // server type without database names has no database in the identity.
    const std::vector<std::string> registry =
        Listed("clsTst_LyrInTblReg", dbtype::kOracle, 2,
               {{"A", "GIS"}, {"B", "GIS"}, {"C", "GIS"}, {"D", "GIS"}, {"E", "GIS"}, {"F", "GIS"}});
    ASSERT_EQ(registry.size(), 6u);
    EXPECT_EQ(
        registry[5],
        R"(orphaned-entry {"systemTable":"LAYERS","partnerTable":"TABLE_REGISTRY","owner":"GIS","table":"F"})");

    EXPECT_EQ(
        Listed("clsTst_RasColInSpatRef", dbtype::kOracle, 4, {{"3", "GIS", "ORTHO", "99"}}),
        std::vector<std::string>{
            R"(unknown-spatial-reference {"systemTable":"RASTER_COLUMNS","partnerTable":"SPATIAL_REFERENCES",)"
            R"("owner":"GIS","table":"ORTHO","rasterColumnId":"3","srid":"99"})"});
    EXPECT_EQ(
        Listed("clsTst_TblRegInDbtune", dbtype::kDb2, 5, {{"7", std::nullopt, "ROADS", "GIS", "GISDB"}}),
        std::vector<std::string>{R"(unknown-keyword {"systemTable":"TABLE_REGISTRY","partnerTable":"DBTUNE",)"
                                 R"("database":"GISDB","owner":"GIS","table":"ROADS","registrationId":"7",)"
                                 R"("keyword":null})"});
}

TEST(Baselines, AFileMustBeResultsOfThisSchemaWithAKeyForEveryFinding) {
    const struct {
        std::string text;
        std::string outcome;
    } cases[] = {
        {"not json", "not JSON: a value expected at line 1, column 1"},
        {"[]", "not a results document: the top level is not an object"},
        {R"({"tests": []})",
         "it has no schemaVersion (results written before findings existed cannot serve)"},
        {R"({"schemaVersion": 2, "tests": []})", "schemaVersion 2 is not 1, the one this tabvet reads"},
        {R"({"schemaVersion": 1.0, "tests": []})", "schemaVersion 1.0 is not 1, the one this tabvet reads"},
        {R"({"schemaVersion": "1", "tests": []})",
         "schemaVersion not a number is not 1, the one this tabvet reads"},
        {R"({"schemaVersion": 1})", "it has no tests array"},
        {R"({"schemaVersion": 1, "tests": [{"findings": []}]})",
         "tests[0] is not an object with a position from 1"},
        {R"({"schemaVersion": 1, "tests": [{"position": 0}]})",
         "tests[0] is not an object with a position from 1"},
        {R"({"schemaVersion": 1, "tests": [{"position": 1, "findings": {}}]})",
         "tests[0].findings is not an array"},
        {R"({"schemaVersion": 1, "tests": [{"position": 1}, {"position": 2, "findings": [{"kind": "x"}]}]})",
         "tests[1].findings[0] has no key string"},
        {R"({"schemaVersion": 1, "tests": [{"position": 1, "findings": [{"key": "k", "reason": 4711}]}]})",
         "tests[0].findings[0] has a kind or reason that is not a string"},
        {R"({"schemaVersion": 1, "tests": []})", "0 accepted"},
        {R"({"schemaVersion": 1, "extra": true, "tests": [{"position": 3, "findings": [{"key": "k"},)"
         R"( {"key": "l", "reason": null, "kind": "missing-index"}]}, {"position": 4}]})",
         "2 accepted: 3 k, 3 l"},
    };
    for (const auto& c : cases) {
        const BaselineRead read = ReadBaseline(c.text);
        std::string outcome = read.error;
        if (read.baseline) {
            outcome = std::to_string(read.baseline->findings.size()) + " accepted";
            for (const BaselineFinding& f : read.baseline->findings) {
                outcome += (&f == &read.baseline->findings.front() ? ": " : ", ") +
                           std::to_string(f.position) + " " + f.key;
            }
        }
        EXPECT_EQ(outcome, c.outcome) << c.text;
    }
}

TEST(Baselines, AFileThatCannotServeStopsTabvetBeforeItConnects) {
    const testsupport::TempFolder folder;
    testsupport::WriteBytes(folder.File("old.json"), R"({"tests": []})");
    for (const auto& [file, why] :
         {std::pair{std::string("missing.json"), std::string("No such file or directory")},
          {std::string("old.json"),
           std::string("it has no schemaVersion (results written before findings existed "
                       "cannot serve)")}}) {
        std::ostringstream out;
        std::ostringstream err;
        // A driver that does not exist: had tabvet tried to connect, its message would follow.
        const int status = RunHeadless({"--connect", "Driver=tabvet no such driver;", "--dbms", "oracle",
                                        "--tessel-version", "9.0.0", "--baseline", folder.File(file)},
                                       out, err);
        EXPECT_EQ(status, exit_code::kCannotStart);
        EXPECT_EQ(err.str(), "tabvet: cannot use the baseline '" + folder.File(file) + "': " + why + "\n");
        EXPECT_EQ(out.str(), "");
    }
}

RunRecord Record(std::vector<TestOutcome> tests, RunEnd end = RunEnd::Completed) {
    RunRecord record;
    record.tests = std::move(tests);
    record.end = end;
    return record;
}

// A run of three tests against a baseline: each case says what the tests did and found, and what comes out.
TEST(Baselines, OnlyNewFindingsAndUnexplainedFailuresFailTheRunAndOnlyCompleteTestsResolve) {
    const Finding a = Make(FindingKind::MissingTableOrView, {{Field::Table, "A"}});
    const Finding b = Make(FindingKind::MissingTableOrView, {{Field::Table, "B"}});
    const Finding c = Make(FindingKind::MissingIndex, {{Field::Index, "C"}});
    const Baseline baseline{{{.position = 1, .key = FindingKey(a), .reason = "accepted in March"},
                             {.position = 2, .key = FindingKey(b)},
                             {.position = 3, .key = FindingKey(c)}}};
    const TestOutcome passed{.verdict = Verdict::Passed, .examined = true};
    const auto failed = [](std::vector<Finding> findings, bool truncated = false, bool examined = true) {
        return TestOutcome{.verdict = Verdict::Failed,
                           .findings = std::move(findings),
                           .truncated = truncated,
                           .examined = examined};
    };
    const Finding unreadable = Make(FindingKind::LookupError, {{Field::SystemTable, "LAYERS"}});
    const struct {
        const char* label;
        std::vector<TestOutcome> tests;
        RunEnd end;
        std::string expected;
    } cases[] = {
        {"all still there",
         {failed({a}), failed({b}), failed({c})},
         RunEnd::Completed,
         "0 new, 3 known, 0 resolved: 0"},
        {"found twice",
         {failed({a, c}), failed({b}), failed({c})},
         RunEnd::Completed,
         "0 new, 4 known, 0 resolved: 0"},
        {"a new one",
         {failed({a}), failed({b, c, Make(FindingKind::MissingIndex, {})}), failed({c})},
         RunEnd::Completed,
         "1 new, 4 known, 0 resolved: 1"},
        {"fixed where it was found",
         {passed, failed({b}), failed({c})},
         RunEnd::Completed,
         "0 new, 2 known, 1 resolved: 0"},
        {"a failure without a finding",
         {passed, failed({}), failed({c})},
         RunEnd::Completed,
         "0 new, 1 known, 1 resolved: 1"},
        {"its system table unreadable",
         {passed, failed({unreadable}, false, false), failed({c})},
         RunEnd::Completed,
         "1 new, 1 known, 1 resolved: 1"},
        {"not run, or cut short by the limit",
         {{.notRunReason = NotRunReason::Deselected}, failed({c}, true), failed({c})},
         RunEnd::Completed,
         "0 new, 2 known, 0 resolved: 0"},
        {"stopped in the third test",
         {passed, passed, passed},
         RunEnd::Stopped,
         "0 new, 0 known, 2 resolved: 4"},
        {"ended by an error",
         {passed, {.verdict = Verdict::Error}, {.notRunReason = NotRunReason::Aborted}},
         RunEnd::EscapedError,
         "0 new, 0 known, 1 resolved: 3"},
    };
    for (const auto& test : cases) {
        const RunRecord record = Record(test.tests, test.end);
        const BaselineComparison comparison = CompareWithBaseline(baseline, record);
        EXPECT_EQ(BaselineSummary(comparison) + ": " + std::to_string(ExitStatusOf(record, &comparison)),
                  test.expected)
            << test.label;
    }
    const RunRecord record = Record({failed({a}), passed, passed});
    const BaselineComparison comparison = CompareWithBaseline(baseline, record);
    EXPECT_EQ(comparison.tests[0][0].reason, "accepted in March");
    EXPECT_EQ(ExitStatusOf(Record({failed({a})}), nullptr), exit_code::kTestFailed);
}

}  // namespace
}  // namespace tabvet
