// The run and the checks, as the cases of tests/fixtures/unit/run.txt and checks.txt: which tests a run
// starts, the status log users read, and every check on a scripted connection (a fresh cursor past the last
// row reaches listings no real driver gives).
#include <gtest/gtest.h>

#include <sstream>

#include "checks/catalogue.h"
#include "checks/compressed_binary_index_check.h"
#include "db/odbc_connection.h"
#include "framework/test_environment.h"
#include "framework/version_rules.h"
#include "report/finding_key.h"
#include "session/run_step.h"
#include "support/fake_test.h"
#include "support/scripted_connection.h"
#include "support/unit_cases.h"

namespace tabvet {
namespace {

using namespace testsupport;

const std::map<std::string, std::pair<std::int32_t, DbmsOption>> kServerTypes = {
    {"oracle", {dbtype::kOracle, DbmsOption::Oracle}},
    {"db2", {dbtype::kDb2, DbmsOption::DB2}},
    {"sqlserver", {dbtype::kSqlServer, DbmsOption::SqlServer}},
    {"informix", {dbtype::kInformix, DbmsOption::Informix}}};

// What a check needs from the main window: a namer set up for one server type (not with kNotSetUp), and a
// recorder for the boxes it shows.
class CheckEnvironment final : public TestEnvironment {
  public:
    CheckEnvironment(std::int32_t code, const std::string& database) {
        if (code != dbtype::kNotSetUp) {
            namer.Setup(code, database);
        }
    }
    const clsQualDbObjName& Namer() const override { return namer; }
    IUserInteraction& Ui() const override { return ui; }

    mutable RecordingInteraction ui;
    clsQualDbObjName namer{ui};
};

// The words of the run and check cases; every case file gets a player of its own.
class RunCases : public MainView {
  public:
    RunCases() {
        MakeReady();
        state_.AttachView(*this);
        // positions DBMS RELEASE...: the positions a run starts there, one line a release.
        player.On("positions", [this](const std::string& a, std::ostream& out) {
            const std::vector<std::string> words = Split(a, " ");
            state_.g_pTestCollection = std::make_unique<clsAdoTestCollection>(CreateCatalogueTests(state_));
            state_.selectedDbms = kServerTypes.at(words[0]).second;
            for (std::size_t w = 1; w < words.size(); ++w) {
                SetVersionBoxes(state_, words[w] + ".0");
                out << words[w] << ":";
                for (std::int16_t i = 0; i <= 17; ++i) {
                    out << (ShouldRunTest(state_, i) ? " " + std::to_string(i) : "");
                }
                out << "\n";
            }
            PrintBoxes(ui_, out);
        });
        // rules MAJOR.MINOR.BUGFIX: whether V1 to V4 accept it, as 1 and 0.
        player.On("rules", [](const std::string& a, std::ostream& out) {
            const std::vector<std::string> v = Split(a, ".");
            for (const VersionRule rule :
                 {VersionRule::V1, VersionRule::V2, VersionRule::V3, VersionRule::V4}) {
                out << AcceptsVersion(rule, std::stoi(v[0]), std::stoi(v[1]), std::stoi(v[2]));
            }
            out << "\n";
        });
        // tests VERDICT | VERDICT...: Alpha runs everywhere; Beta not on DB2 and from 3.x on; Gamma only on
        // Oracle 8.2 to 9.0. A verdict is "pass TEXT", "fail TEXT" or "raise" (an escaping NULL error).
        player.On("tests", [this](const std::string& a, std::ostream&) { Catalogue(a); });
        player.On("log", [this](const std::string& a, std::ostream&) { state_.rtbStatus = a; });
        player.On("run", [this](const std::string&, std::ostream& out) { Run(out); });
        player.On("clear", [this](const std::string&, std::ostream& out) {
            ClearRunStatus(state_);
            out << "log: " << Readable(state_.rtbStatus) << "\nfirst test was run: " << std::boolalpha
                << state_.g_pTestCollection->Item(1)->WasRun() << "\n";
        });
        player.On("disable", [this](const std::string& a, std::ostream&) {
            state_.g_pTestCollection->Item(static_cast<std::int16_t>(std::stoi(a)))->Enable(false);
        });
        player.On("minor", [this](const std::string& a, std::ostream&) { state_.txtMinorVersion = a; });
        player.On("details", [this](const std::string& a, std::ostream& out) {
            out << Readable(state_.g_pTestCollection->Item(static_cast<std::int16_t>(std::stoi(a)))
                                ->ResultDetails())
                << "\n";
        });
        // not-ready WHAT [TEXT]: a ready state with one thing spoiled, or TEXT typed into the major or bugfix
        // box; the run shows only its box or raises, and changes nothing.
        player.On("not-ready", [this](const std::string& a, std::ostream& out) {
            Catalogue("pass");
            const std::string text = FirstWord(a).second;
            const std::map<std::string, std::function<void(MainState&)>> spoilers = {
                {"no-connection", [](MainState& s) { s.g_pAdoConn.reset(); }},
                {"no-catalogue", [](MainState& s) { s.g_pTestCollection.reset(); }},
                {"empty-catalogue", [](MainState& s) { s.g_pTestCollection = FakeCatalogue({}); }},
                {"no-server-type", [](MainState& s) { s.selectedDbms = DbmsOption::None; }},
                {"major", [&text](MainState& s) { s.txtMajorVersion = text; }},
                {"bugfix", [&text](MainState& s) { s.txtBugfix = text; }}};
            spoilers.at(FirstWord(a).first)(state_);
            state_.rtbStatus = "earlier log";
            status_.str("");
            const std::string raised = Outcome([this] { ProcessRunTests(state_); });
            out << status_.str() << (raised == "done" ? "" : "raised: " + raised + "\n");
            EXPECT_EQ(state_.rtbStatus, "earlier log");
            EXPECT_FALSE(state_.g_bTestsWereRun);
            PrintBoxes(ui_, out);
        });
        // answer SQL => rows CELLS | failure NUMBER TEXT: the scripted answer of the next checks ("others"
        // for every other statement).
        player.On("answer", [this](const std::string& a, std::ostream&) {
            const std::string how = a.substr(a.find(" => ") + 4);
            const std::string rest = how.find(' ') == std::string::npos ? "" : how.substr(how.find(' ') + 1);
            const auto rows = Cells(rest);
            answers_[a.substr(0, a.find(" => "))] =
                how.starts_with("failure") ? Failure({{std::stoi(rest), rest.substr(rest.find(' ') + 1)}})
                                           : Rows(rows.empty() ? 1 : rows[0].size(), rows);
        });
        // check CLASS LAYOUT HOW: one check run on a scripted connection, LAYOUT a server type or "unset" (a
        // namer not set up); HOW is none, rows CELLS, fresh CELLS (a fresh cursor past the last row),
        // numbered N (rows T1, T2...), failing (two error entries), scripted (the answers above),
        // unconnected (no connection before and after a run), or findings CELLS (as fresh, with the findings
        // and without the statements).
        player.On("check", [this](const std::string& a, std::ostream& out) {
            const std::vector<std::string> words = Split(a, " ");
            const std::string cells = words.size() > 3 ? a.substr(a.find(words[3], a.find(words[2]))) : "";
            Check(words[0], words[1], words[2], cells, out);
        });
        // analysis LAYER-KIND PROBES [N]: the index analysis over N layers (one by default) like GIS.ROADS
        // (plain, no-rowid or load-only), its probes answered "missing" (no rows, score 0), "failing" (two
        // error entries) or "no-dictionary" (ALL_IND_COLUMNS unreadable); prints the number of statements and
        // the verdict. 32768 real layers would take minutes to build; the count is the same whatever answers.
        player.On("analysis", [this](const std::string& a, std::ostream& out) {
            const std::vector<std::string> words = Split(a, " ");
            const std::string probes = words[1];
            const std::int32_t eflags = 16777216 | (words[0] == "load-only" ? 1048576 : 0);
            std::vector<std::vector<FieldValue>> rows;
            for (int id = 1; id <= (words.size() > 2 ? std::stoi(words[2]) : 1); ++id) {
                rows.push_back({"SHAPE", "ROADS", "GIS", std::to_string(words.size() > 2 ? id : 12),
                                std::to_string(eflags), "40", "0",
                                words[0] == "no-rowid" ? FieldValue{} : FieldValue{"OBJECTID"}});
            }
            CheckEnvironment env(dbtype::kOracle, kNoDatabaseName);
            ScriptedConnection conn;
            conn.Open("");
            conn.Answer(CompressedBinaryWalkStatement("TSL.LAYERS", "TSL.TABLE_REGISTRY"), Rows(8, rows));
            conn.AnswerOthers([probes](const std::string& sql) {
                if (probes == "failing") {
                    return Failure({{942, "table or view does not exist"}, {-2147217865, "second entry"}});
                }
                if (probes == "no-dictionary" && sql.find("ALL_IND_COLUMNS") != std::string::npos) {
                    return Failure({{942, "no view"}});
                }
                return sql.ends_with("FROM DUAL") ? Rows(1, {{"0"}}) : Rows(1, {});
            });
            Record(*CreateCheck("clsTst_IdxLyrBinOra", env), &conn, env, out, false);
        });
    }

    void StatusBarChanged() override { status_ << "status: " << state_.stsRunFeedback << "\n"; }

    CasePlayer player;

  private:
    // A window state ready to run: connected, Oracle 9.0.0 chosen.
    void MakeReady() {
        state_.now = [] { return std::string("23/11/2026 10:00:00"); };
        state_.g_QDON = std::make_unique<clsQualDbObjName>(ui_);
        auto conn = std::make_unique<ScriptedConnection>();
        conn->Open("");
        state_.g_pAdoConn = std::move(conn);
        state_.selectedDbms = DbmsOption::Oracle;
        SetVersionBoxes(state_, "9.0.0");
    }

    void Catalogue(const std::string& verdicts) {
        MakeReady();
        std::vector<FakeTest::State> tests = {{.name = "Alpha", .category = "Environment"},
                                              {.name = "Beta", .versionRule = VersionRule::V2, .db2 = false},
                                              {.name = "Gamma",
                                               .versionRule = VersionRule::V4,
                                               .informix = false,
                                               .db2 = false,
                                               .sqlServer = false}};
        const std::vector<std::string> each = Split(verdicts, " | ");
        tests.resize(each.size());
        for (std::size_t i = 0; i < tests.size(); ++i) {
            tests[i].onRun = [this, verdict = each[i]](FakeTest::State& s) {
                status_ << "runs: " << s.name << "\n";
                if (verdict == "raise") {
                    throw RuntimeError(94, "Invalid use of Null");
                }
                s.pass = verdict.starts_with("pass");
                s.resultDetails = FirstWord(verdict).second;
            };
        }
        state_.g_pTestCollection = FakeCatalogue(std::move(tests));
    }

    void Run(std::ostream& out) {
        status_.str("");
        const std::string raised = Outcome([this] { ProcessRunTests(state_); });
        out << status_.str() << (raised == "done" ? "" : "raised: " + raised + "\n")
            << "log: " << Readable(state_.rtbStatus) << "\ntests were run: " << std::boolalpha
            << state_.g_bTestsWereRun << "\n";
        PrintBoxes(ui_, out);
    }

    // Runs one check as a DBA would see it: what it raised, sent and left in the error list, the boxes, the
    // verdict.
    static void Record(IAdoTest& test, ScriptedConnection* conn, CheckEnvironment& env, std::ostream& out,
                       bool allSent = true) {
        const std::string raised = Outcome([&] { test.Run(conn); });
        out << (raised == "done" ? "" : "raised: " + raised + "\n");
        if (conn != nullptr) {
            for (const std::string& sql : conn->Sent()) {
                out << (allSent ? "sent: " + Readable(sql) + "\n" : "");
            }
            out << (allSent ? "" : "statements sent: " + std::to_string(conn->Sent().size()) + "\n");
            out << (conn->Errors().Count() > 0
                        ? "error list: " + std::to_string(conn->Errors().Count()) + "\n"
                        : "");
        }
        PrintBoxes(env.ui, out);
        out << (test.Pass()     ? "pass"
                : test.WasRun() ? "fail"
                                : "fail, not run")
            << ": " << Readable(test.ResultDetails()) << "\n";
    }

    void Check(const std::string& className, const std::string& layout, const std::string& how,
               const std::string& cells, std::ostream& out) {
        const std::int32_t code = layout == "unset" ? dbtype::kNotSetUp : kServerTypes.at(layout).first;
        CheckEnvironment env(code, code == dbtype::kOracle ? kNoDatabaseName : "GISDB");
        std::unique_ptr<IAdoTest> test = CreateCheck(className, env);
        ScriptedConnection conn;
        conn.Open("");
        std::vector<std::vector<FieldValue>> rows = Cells(cells);
        if (how == "numbered") {
            const int count = std::stoi(cells);
            const bool keywords = className.find("Dbtune") != std::string::npos;
            rows.clear();
            for (int i = 1; i <= count; ++i) {
                const std::string id = std::to_string(i);
                rows.push_back(keywords ? std::vector<FieldValue>{id, "KW" + id, "R" + id, "IMG", "GISDB"}
                                        : std::vector<FieldValue>{"T" + id, "GIS", "GISDB"});
            }
        }
        ScriptedAnswer answer = Rows(rows.empty() ? 5 : rows[0].size(), rows);
        answer.freshCursorAfterLast = how == "fresh" || how == "numbered" || how == "findings";
        if (how == "failing") {
            answer = Failure(
                {{1, "ERROR: relation \"tsl.tsl_dbtune\" does not exist;\nError while executing the query"},
                 {-2147217900, "second"}});
        }
        if (how == "scripted") {
            for (const auto& [sql, scripted] : answers_) {
                const ScriptedAnswer answered = scripted;
                sql == "others" ? conn.AnswerOthers([answered](const std::string&) { return answered; })
                                : conn.Answer(sql, scripted);
            }
            answers_.clear();
        } else {
            conn.AnswerOthers([answer](const std::string&) { return answer; });
        }
        if (how == "unconnected") {
            Record(*test, nullptr, env, out);
        }
        Record(*test, &conn, env, out, how != "findings");
        if (how == "unconnected") {
            Record(*test, nullptr, env, out);
        }
        if (how == "findings") {
            const TestFindings& found = dynamic_cast<const FindingSource&>(*test).Findings();
            for (const Finding& finding : found.findings) {
                out << "finding: " << FindingKindWord(finding.kind) << " "
                    << IdentityObject(finding.identity, true, StrayByte::Replaced) << "\n";
            }
            out << (found.truncated ? "truncated\n" : "");
        }
    }

    RecordingInteraction ui_;
    MainState state_{ui_, NewOdbcConnection};
    std::ostringstream status_;
    std::map<std::string, ScriptedAnswer> answers_;
};

TEST(RunCases, CatalogueRunSelectionVersionRulesAndTheStatusLog) {
    EXPECT_EQ(RunCases().player.Play("unit/run.txt"), "");
}

TEST(RunCases, EveryCheckOnAScriptedConnection) {
    EXPECT_EQ(RunCases().player.Play("unit/checks.txt"), "");
}

}  // namespace
}  // namespace tabvet
