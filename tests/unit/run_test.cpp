// The run and the checks: the catalogue's order (the run and report order users compare reports by), which
// tests a run starts for a server type and release, the version rules, the exact status log users read, how
// an escaped error ends a run; then every check on a scripted connection: the statements it sends for each
// server type, its listings (reached only by a fresh cursor past its last row), limit lines, failures, and
// the probe order of the index analysis.
#include "checks/catalogue.h"
#include "checks/compressed_binary_index_check.h"
#include "checks/compressed_binary_probes.h"
#include "db/odbc_connection.h"
#include "framework/version_rules.h"
#include "session/run_step.h"
#include "support/check_environment.h"
#include "support/fake_test.h"
#include "support/scripted_connection.h"
#include "support/transcript.h"

namespace tabvet {
namespace {

using namespace testsupport;

const struct {
    std::int32_t code;
    DbmsOption option;
    const char* name;
} kServerTypes[] = {{dbtype::kOracle, DbmsOption::Oracle, "Oracle"},
                    {dbtype::kDb2, DbmsOption::DB2, "DB2"},
                    {dbtype::kSqlServer, DbmsOption::SqlServer, "SQL Server"},
                    {dbtype::kInformix, DbmsOption::Informix, "Informix"}};

TEST(Catalogue, HoldsTheTestsInTheirFixedOrderAndTheServerTypeAndReleaseChooseWhatRunsByTheVersionRules) {
    Transcript t("catalogue");
    RecordingInteraction ui;
    MainState state(ui, NewOdbcConnection);
    state.g_pTestCollection = std::make_unique<clsAdoTestCollection>(CreateCatalogueTests(state));
    const clsAdoTestCollection& catalogue = *state.g_pTestCollection;
    for (int walk = 0; walk < 2; ++walk) {
        t.Case("walk " + std::to_string(walk + 1));
        for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
            const IAdoTest& test = *catalogue.Item(i);
            t.Line(std::to_string(i), test.Name() + " | " + test.Category() +
                                          (test.Fatal() ? " | fatal" : "") + " | " + test.ResultDetails() +
                                          " " + std::to_string(test.Pass()) + std::to_string(test.WasRun()) +
                                          std::to_string(test.Enabled()));
        }
    }
    for (const std::int16_t outside : {0, -1, 17}) {
        EXPECT_EQ(catalogue.Item(outside), nullptr) << outside;
    }
    EXPECT_EQ(clsAdoTestCollection({}).Item(1), nullptr);
    for (const auto& server : kServerTypes) {
        t.Case(std::string("positions that run on ") + server.name);
        for (const char* release : {"3.0", "8.1", "9.0", "9.1"}) {
            state.selectedDbms = server.option;
            state.txtMajorVersion = std::string(1, release[0]);
            state.txtMinorVersion = std::string(1, release[2]);
            state.txtBugfix = "0";
            std::string running;
            for (std::int16_t i = 0; i <= 17; ++i) {
                running += ShouldRunTest(state, i) ? " " + std::to_string(i) : "";
            }
            t.Line(release, running);
        }
    }
    EXPECT_TRUE(ui.shown.empty());
    t.Case("rules V1 to V4 that accept a release; minors compare signed, bugfix is used by no rule");
    const std::int16_t releases[][3] = {{8, 1, 0},  {8, 2, 0},     {9, 0, 0},      {9, 1, 0},
                                        {3, 0, 0},  {10, 0, 0},    {7, 9, 9},      {8, -1, 0},
                                        {9, -1, 0}, {8, 32767, 0}, {8, -32768, 0}, {9, 0, -5}};
    for (const auto& r : releases) {
        std::string accepted;
        for (const VersionRule rule : {VersionRule::V1, VersionRule::V2, VersionRule::V3, VersionRule::V4}) {
            accepted += AcceptsVersion(rule, r[0], r[1], r[2]) ? "1" : "0";
        }
        t.Line(std::to_string(r[0]) + "." + std::to_string(r[1]) + "." + std::to_string(r[2]), accepted);
    }
}

// A window state ready to run: connected, server type and version chosen.
void MakeReady(MainState& s, RecordingInteraction& ui) {
    s.now = [] { return std::string("23/11/2026 10:00:00"); };
    s.g_QDON = std::make_unique<clsQualDbObjName>(ui);
    auto conn = std::make_unique<ScriptedConnection>();
    conn->Open("");
    s.g_pAdoConn = std::move(conn);
    s.selectedDbms = DbmsOption::Oracle;
    s.txtMajorVersion = "9";
    s.txtMinorVersion = "0";
    s.txtBugfix = "0";
}

using Verdict = std::function<void(FakeTest::State&)>;

Verdict Gives(bool pass, std::string details) {
    return [pass, details](FakeTest::State& s) {
        s.pass = pass;
        s.resultDetails = details;
    };
}

// Prints the log, the status bar as it changes, and the message boxes of the runs.
class RunTranscript : public MainView {
  public:
    explicit RunTranscript(const char* name) : t(name) {
        MakeReady(state, ui);
        state.AttachView(*this);
    }
    void StatusBarChanged() override { t.Line("status", state.stsRunFeedback); }

    // Alpha runs everywhere; Beta not on DB2 and from 3.x on; Gamma only on Oracle 8.2 to 9.0.
    void Catalogue(std::vector<Verdict> verdicts) {
        std::vector<FakeTest::State> tests = {{.name = "Alpha", .category = "Environment"},
                                              {.name = "Beta", .versionRule = VersionRule::V2, .db2 = false},
                                              {.name = "Gamma",
                                               .versionRule = VersionRule::V4,
                                               .informix = false,
                                               .db2 = false,
                                               .sqlServer = false}};
        tests.resize(verdicts.size());
        for (std::size_t i = 0; i < tests.size(); ++i) {
            tests[i].onRun = [this, verdict = verdicts[i]](FakeTest::State& s) {
                t.Line("runs", s.name);
                verdict(s);
            };
        }
        state.g_pTestCollection = FakeCatalogue(std::move(tests));
    }
    void Run() {
        t.Try("raised", [&] { ProcessRunTests(state); });
        t.Line("log", state.rtbStatus);
        t.Line("tests were run", std::to_string(state.g_bTestsWereRun));
        t.Boxes(ui);
    }

    Transcript t;
    RecordingInteraction ui;
    MainState state{ui, NewOdbcConnection};
};

TEST(TestRun, NotReadyShowsOnlyTheBoxAndChangesNothing) {
    const std::pair<const char*, std::function<void(MainState&)>> spoilers[] = {
        {"no connection", [](MainState& s) { s.g_pAdoConn.reset(); }},
        {"no catalogue", [](MainState& s) { s.g_pTestCollection.reset(); }},
        {"empty catalogue", [](MainState& s) { s.g_pTestCollection = FakeCatalogue({}); }},
        {"no server type", [](MainState& s) { s.selectedDbms = DbmsOption::None; }},
        {"no major version", [](MainState& s) { s.txtMajorVersion = ""; }},
        {"letters", [](MainState& s) { s.txtMajorVersion = "abc"; }},
        {"rounds to 0", [](MainState& s) { s.txtMajorVersion = "0.4"; }},
    };
    RunTranscript run("run_not_ready");
    for (const auto& [label, spoil] : spoilers) {
        run.t.Case(label);
        MakeReady(run.state, run.ui);
        run.state.rtbStatus = "earlier log";
        run.Catalogue({Gives(true, "")});
        spoil(run.state);
        EXPECT_FALSE(IsReadyToRun(run.state));
        run.Run();
    }
}

TEST(TestRun, LogsAppendsSkipsAndEndsOnAnEscapedError) {
    RunTranscript run("run_log");
    run.t.Case("one failure with a two-line detail, after an earlier log");
    run.Catalogue({Gives(true, "fine"), Gives(false, "line one\r\nline two"), Gives(true, "fine")});
    run.state.rtbStatus = "kept";
    run.Run();
    run.t.Case("a second run appends");
    run.Catalogue({Gives(true, "fine")});
    run.Run();
    run.t.Case("clearing the status window keeps the results");
    ClearRunStatus(run.state);
    run.t.Line("log", run.state.rtbStatus);
    run.t.Line("first test was run", std::to_string(run.state.g_pTestCollection->Item(1)->WasRun()));
    // Which tests a run starts for each server type and release is in the catalogue's transcript; the real
    // runs of the scenarios count them, and pasted versions that round are in version_texts.txt.
    run.t.Case("disabled and skipped tests keep their earlier results");
    run.Catalogue({Gives(false, "first run"), Gives(false, "x"), Gives(false, "index problem")});
    run.Run();
    run.state.g_pTestCollection->Item(1)->Enable(false);
    run.state.txtMinorVersion = "1";  // rule V4 no longer applies
    run.Run();
    run.t.Line("third test", run.state.g_pTestCollection->Item(3)->ResultDetails());
    run.t.Case("an escaped error ends the run without the closing lines");
    run.state.rtbStatus.clear();
    run.state.txtMinorVersion = "0";
    run.Catalogue({Gives(false, "before"),
                   [](FakeTest::State&) { throw RuntimeError(94, "Invalid use of Null"); }, Gives(true, "")});
    run.Run();
}

using Factory = std::function<std::unique_ptr<IAdoTest>(const TestEnvironment&)>;
using Table = std::vector<std::vector<FieldValue>>;

Factory Make(const char* className) {
    return [className](const TestEnvironment& environment) { return CreateCheck(className, environment); };
}

ScriptedAnswer AfterLast(std::size_t columns, Table rows) {
    ScriptedAnswer answer = Rows(columns, std::move(rows));
    answer.freshCursorAfterLast = true;
    return answer;
}

// Runs one check and prints what a DBA would see of it.
void Record(Transcript& t, IAdoTest& test, ScriptedConnection* conn, const CheckEnvironment& env) {
    t.Try("raised", [&] { test.Run(conn); });
    if (conn != nullptr) {
        for (const std::string& sql : conn->Sent()) {
            t.Line("sent", sql);
        }
        t.Line("error list", std::to_string(conn->Errors().Count()));
    }
    t.Boxes(env.ui);
    t.Line(test.Pass() ? "pass" : test.WasRun() ? "fail" : "fail, not run", test.ResultDetails());
}

using Answers = std::function<ScriptedAnswer(const std::string&)>;

Answers All(const ScriptedAnswer& answer) {
    return [answer](const std::string&) { return answer; };
}

// Starts a case and runs one check on it. Oracle names carry no database; the others use GISDB.
void RunCheck(Transcript& t, const std::string& label, const Factory& make, Answers answers,
              std::int32_t dbms = dbtype::kOracle) {
    t.Case(label);
    const CheckEnvironment env(dbms, dbms == dbtype::kOracle ? kNoDatabaseName : "GISDB");
    ScriptedConnection conn;
    conn.Open("");
    conn.AnswerOthers(std::move(answers));
    Record(t, *make(env), &conn, env);
}

const LayerValues kRoads{.owner = "GIS",
                         .tableName = "ROADS",
                         .spatialColumn = "SHAPE",
                         .rowIdColumn = "OBJECTID",
                         .layerId = 12,
                         .registrationId = 40};
const std::string kWalk = CompressedBinaryWalkStatement("TSL.LAYERS", "TSL.TABLE_REGISTRY");

std::vector<FieldValue> WalkRow(const LayerValues& layer, std::int32_t eflags, std::int32_t objectFlags) {
    return {layer.spatialColumn,
            layer.tableName,
            layer.owner,
            std::to_string(layer.layerId),
            std::to_string(eflags),
            std::to_string(layer.registrationId),
            std::to_string(objectFlags),
            layer.rowIdColumn.empty() ? FieldValue{} : FieldValue{layer.rowIdColumn}};
}

// Every check by the name its cases carry in checks.txt and check_listings.txt.
const std::map<std::string, Factory> kChecks = {
    {"LAYERS in GEOMETRY_COLUMNS", Make("clsTst_LyrInGeomCol")},
    {"GEOMETRY_COLUMNS in LAYERS (schema and table exchanged)", Make("clsTst_GeomColInLyr")},
    {"LAYERS.SRID (NULLs in every piece)", Make("clsTst_LyrInSpatRef")},
    {"RASTER_COLUMNS.SRID", Make("clsTst_RasColInSpatRef")},
    {"LAYERS in TABLE_REGISTRY", Make("clsTst_LyrInTblReg")},
    {"RASTER_COLUMNS in TABLE_REGISTRY", Make("clsTst_RasColInTblReg")},
    {"LAYERS keywords (NULL keyword and id add nothing)", Make("clsTst_LyrInDbtune")},
    {"RASTER_COLUMNS keywords", Make("clsTst_RasColInDbtune")},
    {"TABLE_REGISTRY keywords", Make("clsTst_TblRegInDbtune")},
    {"orphaned LAYERS", Make("clsTst_OrphLyr")},
    {"orphaned TABLE_REGISTRY", Make("clsTst_OrphTblReg")},
    {"orphaned RASTER_COLUMNS", Make("clsTst_OrphRasCol")},
    {"orphaned GEOMETRY_COLUMNS (fresh cursor at end: an empty table)", Make("clsTst_OrphGeomCol")},
    {"compressed-binary index analysis (fresh cursor at end: no layers)", Make("clsTst_IdxLyrBinOra")},
};

TEST(Checks, StatementsListingsAndFailuresOfEveryCheckOnEveryServerType) {
    Transcript t("checks");
    const std::vector<Section> listings = Sections("check_listings");
    ASSERT_EQ(listings.size(), kChecks.size());
    for (const auto& [name, cells] : listings) {
        const Factory& make = kChecks.at(name);
        Table rows;
        for (const std::vector<std::string>& row : cells) {
            rows.emplace_back();
            for (const std::string& cell : row) {
                rows.back().push_back(cell == "~" ? FieldValue{} : FieldValue{cell});
            }
        }
        for (const auto& [dbms, option, server] : kServerTypes) {
            RunCheck(t, name + ", " + server + ", no rows", make, All(Rows(5, {})), dbms);
            RunCheck(t, name + ", " + server + ", listing", make, All(AfterLast(rows[0].size(), rows)), dbms);
        }
        RunCheck(t, name + ", rows with the first one current", make,
                 All(Rows(5, {{"1", "2", "3", "4", "5"}, {"1", "2", "3", "4", "5"}})));
        RunCheck(
            t, name + ", failing statement", make,
            All(Failure(
                {{1, "ERROR: relation \"tsl.tsl_dbtune\" does not exist;\nError while executing the query"},
                 {-2147217900, "second"}})),
            dbtype::kSqlServer);
        t.Case(name + ", namer not set up");
        const CheckEnvironment unset;
        ScriptedConnection conn;
        conn.Open("");
        Record(t, *make(unset), &conn, unset);
        t.Case(name + ", no connection, before and after a run");
        const CheckEnvironment env(dbtype::kOracle);
        auto test = make(env);
        Record(t, *test, nullptr, env);
        Record(t, *test, &conn, env);
        Record(t, *test, nullptr, env);
    }
}

Table Numbered(int count, int columns) {
    Table rows;
    for (int i = 1; i <= count; ++i) {
        const std::string id = std::to_string(i);
        rows.push_back(columns == 3 ? std::vector<FieldValue>{"T" + id, "GIS", "GISDB"}
                                    : std::vector<FieldValue>{id, "KW" + id, "R" + id, "IMG", "GISDB"});
    }
    return rows;
}

TEST(Checks, ListingsStopAtFiveWithTheLimitLineOfTheirLoopAndNullsEndTheRun) {
    Transcript t("checks_limits");
    for (const int count : {4, 5, 6}) {
        for (const auto& [name, make, columns] :
             {std::tuple{"LAYERS in TABLE_REGISTRY", Make("clsTst_LyrInTblReg"), 3},
              {"RASTER_COLUMNS in TABLE_REGISTRY", Make("clsTst_RasColInTblReg"), 3},
              {"RASTER_COLUMNS keywords", Make("clsTst_RasColInDbtune"), 5}}) {
            RunCheck(t, std::string(name) + ", " + std::to_string(count) + " rows", make,
                     All(AfterLast(columns, Numbered(count, columns))), dbtype::kInformix);
        }
    }
    RunCheck(t, "NULL database name converted while listing, Oracle", Make("clsTst_LyrInGeomCol"),
             All(AfterLast(3, {{"ROADS", "GIS", std::nullopt}})));
    RunCheck(t, "NULL owner in a keyword listing", Make("clsTst_TblRegInDbtune"),
             All(AfterLast(5, {{"7", "KW", "ROADS", std::nullopt, "GISDB"}})), dbtype::kDb2);
    RunCheck(t, "NULL table name in a registry listing", Make("clsTst_RasColInTblReg"),
             All(AfterLast(3, {{std::nullopt, "IMG", "GISDB"}})), dbtype::kDb2);

    t.Case("orphaned LAYERS, Informix: probes qualified with database and colon");
    const CheckEnvironment env(dbtype::kInformix, "GISDB");
    ScriptedConnection conn;
    conn.Open("");
    conn.Answer("SELECT a.spatial_column, a.table_name, a.owner, a.database_name FROM GISDB:TSL.LAYERS a",
                Rows(4, {{"SHAPE", "ROADS", "GIS", "GISDB"}, {"GEOM", " RIVERS ", " HYDRO ", " OTHERDB "}}));
    conn.Answer("SELECT A.SHAPE FROM GISDB:GIS.ROADS A WHERE 1 = 2", Rows(1, {}));
    conn.AnswerOthers([](const std::string&) {
        return Failure({{-206, "The specified table (rivers) is not in the database."}});
    });
    const auto orphans = CreateCheck("clsTst_OrphLyr", env);
    Record(t, *orphans, &conn, env);
}

// The walk answered with `walk`, every probe with `others`.
Answers Walk(const ScriptedAnswer& walk, Answers others) {
    return [walk, others](const std::string& sql) { return sql == kWalk ? walk : others(sql); };
}

TEST(IndexAnalysis, ExpectedIndexesAndProbesFollowTheFlagsAndTheRowIdColumn) {
    Transcript t("index_analysis");
    for (const ExpectedIndex& index : ExpectedIndexes()) {
        t.Case(IndexName(index, kRoads) + " expects " + std::to_string(index.expectedScore));
        t.Line("query", IndexScoreQuery(index, kRoads));
    }
    LayerValues noRowId = kRoads;
    noRowId.rowIdColumn.clear();
    const auto missing = [](const std::string& sql) {
        return sql.ends_with("FROM DUAL") ? Rows(1, {{"0"}}) : Rows(1, {});
    };
    // Plain, load-only and versioned layers, with and without a row-id column, are probed in the
    // compressed-binary scenario against the dictionary stand-ins; this combination is not.
    RunCheck(t, "probes of a no row-id column layer, every index missing", Make("clsTst_IdxLyrBinOra"),
             Walk(Rows(8, {WalkRow(noRowId, 16777216, 0)}), missing));
    RunCheck(t, "lookup errors list every entry of the error list", Make("clsTst_IdxLyrBinOra"),
             Walk(Rows(8, {WalkRow(kRoads, 16777216 | 1048576, 0)}),
                  All(Failure({{942, "table or view does not exist"}, {-2147217865, "second entry"}}))));
    RunCheck(t, "unreadable dictionary: one lookup error per index", Make("clsTst_IdxLyrBinOra"),
             Walk(Rows(8, {WalkRow(kRoads, 16777216, 0)}), [](const std::string& sql) {
                 return sql.find("ALL_IND_COLUMNS") != std::string::npos ? Failure({{942, "no view"}})
                                                                         : Rows(1, {});
             }));
    // Building 32768 real layers would take minutes; the count is the same whatever answers the probes.
    t.Case("more layers than the sixteen-bit count ends the run with an overflow");
    Table rows;
    LayerValues layer = kRoads;
    for (layer.layerId = 1; layer.layerId <= 32768; ++layer.layerId) {
        rows.push_back(WalkRow(layer, 16777216 | 1048576, 0));  // load-only: one probe per layer
    }
    const CheckEnvironment env(dbtype::kOracle);
    ScriptedConnection conn;
    conn.Open("");
    conn.AnswerOthers(Walk(Rows(8, std::move(rows)), All(Rows(1, {}))));
    t.Try("raised", [&] { CreateCheck("clsTst_IdxLyrBinOra", env)->Run(&conn); });
    t.Line("statements sent", std::to_string(conn.Sent().size()));
}

}  // namespace
}  // namespace tabvet
