// Findings and baselines against the real driver: keys that stay the same from run to run whatever order the
// server returns rows in and across a restart, a nightly run that fails only on what is new, names that reach
// keys and JSON byte for byte, and a check that says when its report limit cut it short.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "app/headless/headless_run.h"
#include "report/json_reader.h"
#include "report/json_text.h"
#include "support/pg_cluster.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;
using testsupport::ReadBytes;
using testsupport::TempFolder;
using testsupport::WriteBytes;

const std::vector<std::string> kCatalogue = {"tessel_schema.sql", "oracle_dictionary.sql",
                                             "findings/catalogue.sql"};

// A database built for one test and dropped after it: the cluster is removed file by file at the end of the
// suite, and on a busy machine every database there adds to that.
class Database {
  public:
    Database(std::string name, const std::vector<std::string>& files) : name_(std::move(name)) {
        PgCluster::Shared().CreateDatabase(name_, files);
    }
    ~Database() {
        try {
            PgCluster::Shared().Execute("postgres", "DROP DATABASE IF EXISTS " + name_ + " WITH (FORCE)");
        } catch (const std::exception&) {
            // Left for the cluster's removal.
        }
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

  private:
    std::string name_;
};

// One finding as the results file gives it.
struct Found {
    int position;
    std::string kind;
    std::string key;
    const JsonValue* identity;
    std::string baseline;  // "new", "known", or empty without a baseline
};

// A headless run at Oracle 9.0.0 with its JSON results read back by the product's own reader.
struct HeadlessRun {
    HeadlessRun(const std::string& database, std::vector<std::string> extra = {}) {
        std::vector<std::string> args = {"--connect",        PgCluster::Shared().ConnectionString(database),
                                         "--dbms",           "oracle",
                                         "--tessel-version", "9.0.0",
                                         "--json",           json};
        args.insert(args.end(), extra.begin(), extra.end());
        std::ostringstream out;
        std::ostringstream errors;
        status = RunHeadless(args, out, errors);
        err = errors.str();
        const JsonParse parsed = ReadJson(ReadBytes(json));
        EXPECT_TRUE(parsed.value) << parsed.error;
        document = parsed.value.value_or(JsonValue{});
        for (const JsonValue& test : document.Member("tests")->items) {
            for (const JsonValue& f : test.Member("findings")->items) {
                const JsonValue* standing = f.Member("baseline");
                findings.push_back({*f.Member("position")->WholeNumber(), f.Member("kind")->text,
                                    f.Member("key")->text, f.Member("identity"),
                                    standing != nullptr ? standing->text : ""});
            }
        }
    }

    std::vector<std::string> Keys() const {
        std::vector<std::string> keys;
        for (const Found& f : findings) {
            keys.push_back(f.key);
        }
        return keys;
    }
    std::vector<std::string> SortedKeys() const {
        std::vector<std::string> keys = Keys();
        std::sort(keys.begin(), keys.end());
        return keys;
    }
    std::vector<const Found*> With(const std::string& standing) const {
        std::vector<const Found*> with;
        for (const Found& f : findings) {
            if (f.baseline == standing) {
                with.push_back(&f);
            }
        }
        return with;
    }
    const JsonValue& Test(int position) const { return document.Member("tests")->items.at(position - 1); }
    std::string LastErrorLine() const {
        const std::string text = err.substr(0, err.size() - 1);
        return text.substr(text.rfind('\n') + 1);
    }

    TempFolder folder;
    std::string json = folder.File("results.json");
    int status = -1;
    std::string err;
    JsonValue document;
    std::vector<Found> findings;
};

// The value of `field` in a finding's identity: absent, null or text.
std::string Value(const Found& f, const std::string& field) {
    const JsonValue* value = f.identity->Member(field);
    return value == nullptr ? "<absent>" : value->type == JsonValue::Type::Null ? "<null>" : value->text;
}

// Rewrites the system tables with their rows in the opposite order of their ids, so that the server returns
// them the other way round.
void ReverseRows(const std::string& database) {
    for (const auto& [table, id] : {std::pair{"layers", "layer_id"},
                                    {"table_registry", "registration_id"},
                                    {"geometry_columns", "f_table_name"}}) {
        PgCluster::Shared().Execute(database, std::string("CREATE TEMP TABLE t AS SELECT * FROM tsl.") +
                                                  table + "; TRUNCATE tsl." + table + "; INSERT INTO tsl." +
                                                  table + " SELECT * FROM t ORDER BY " + id +
                                                  " DESC; DROP TABLE t");
    }
}

TEST(Findings, KeysAreTheSameOnASecondRunAndWhateverOrderTheRowsComeIn) {
    const Database database("findings_order", kCatalogue);
    const HeadlessRun first("findings_order");
    ASSERT_EQ(first.status, exit_code::kTestFailed) << first.err;
    EXPECT_EQ(first.Keys(), HeadlessRun("findings_order").Keys());
    ASSERT_EQ(first.findings.size(), 4u);
    // Which catalogue value each finding carries, and what kind of problem the driver's state made of it.
    std::vector<std::string> seen;
    for (const Found& f : first.findings) {
        seen.push_back(std::to_string(f.position) + " " + f.kind + " " + Value(f, "systemTable") + " " +
                       Value(f, "database") + " " + Value(f, "owner") + "." + Value(f, "table") + "." +
                       Value(f, "column"));
    }
    EXPECT_EQ(seen, (std::vector<std::string>{
                        "4 missing-table-or-view TABLE_REGISTRY <absent> GIS.WELLS.<null>",
                        "9 missing-table-or-view LAYERS <absent> GIS.WELLS.SHAPE",
                        "9 missing-column LAYERS <absent> GIS.PARCELS.GEOM",
                        "15 missing-table-or-view GEOMETRY_COLUMNS <absent> GIS.PIPES.SHAPE",
                    }));

    ReverseRows("findings_order");
    const HeadlessRun reversed("findings_order");
    EXPECT_NE(reversed.Keys(), first.Keys()) << "the rows did not come back in another order";
    EXPECT_EQ(reversed.SortedKeys(), first.SortedKeys());
}

TEST(Findings, AgainstABaselineOnlyWhatIsNewFailsTheRun) {
    const Database database("findings_baseline", kCatalogue);
    const HeadlessRun nightly("findings_baseline");
    const std::vector<std::string> baseline = {"--baseline", nightly.json};

    const HeadlessRun same("findings_baseline", baseline);
    EXPECT_EQ(same.status, exit_code::kAllPassed) << same.err;
    EXPECT_EQ(same.With("known").size(), 4u);
    EXPECT_EQ(same.LastErrorLine(), "0 new, 4 known, 0 resolved");

    PgCluster::Shared().Execute(
        "findings_baseline",
        "INSERT INTO tsl.layers (layer_id, owner, table_name, spatial_column, eflags, srid, "
        "layer_config) VALUES (4, 'GIS', 'LOST', 'SHAPE', 0, 1, 'DEFAULTS')");
    const HeadlessRun oneMore("findings_baseline", baseline);
    EXPECT_EQ(oneMore.status, exit_code::kTestFailed);
    ASSERT_EQ(oneMore.With("new").size(), 1u);
    EXPECT_EQ(Value(*oneMore.With("new")[0], "table"), "LOST");
    EXPECT_EQ(oneMore.LastErrorLine(), "1 new, 4 known, 0 resolved");
    EXPECT_EQ(*oneMore.document.Member("baseline")->Member("new")->WholeNumber(), 1);

    PgCluster::Shared().Execute(
        "findings_baseline",
        "CREATE TABLE gis.pipes (shape integer); DELETE FROM tsl.layers WHERE layer_id = 4");
    const HeadlessRun fixed("findings_baseline", baseline);
    EXPECT_EQ(fixed.status, exit_code::kAllPassed) << fixed.err;
    EXPECT_EQ(fixed.With("new").size(), 0u);
    const JsonValue& resolved = *fixed.document.Member("baseline")->Member("resolvedFindings");
    ASSERT_EQ(resolved.items.size(), 1u);
    EXPECT_EQ(*resolved.items[0].Member("position")->WholeNumber(), 15);
    EXPECT_EQ(fixed.LastErrorLine(), "0 new, 3 known, 1 resolved");

    // A file of accepted findings alone: the orphan that came back is known, with the reason given for it.
    const std::string accepted = nightly.folder.File("accepted.json");
    WriteBytes(accepted, R"({"schemaVersion": 1, "tests": [{"position": 9, "findings": [{"key": )" +
                             JsonString(oneMore.With("new")[0]->key) +
                             R"(, "reason": "decommissioned, ticket 4711"}]}]})");
    PgCluster::Shared().Execute(
        "findings_baseline",
        "INSERT INTO tsl.layers (layer_id, owner, table_name, spatial_column, eflags, srid, "
        "layer_config) VALUES (4, 'GIS', 'LOST', 'SHAPE', 0, 1, 'DEFAULTS')");
    const HeadlessRun withReason("findings_baseline", {"--baseline", accepted});
    EXPECT_EQ(withReason.status, exit_code::kTestFailed);
    ASSERT_EQ(withReason.With("known").size(), 1u);
    EXPECT_EQ(Value(*withReason.With("known")[0], "table"), "LOST");
    EXPECT_EQ(withReason.LastErrorLine(), "3 new, 1 known, 0 resolved");
    EXPECT_NE(ReadBytes(withReason.json).find(R"("reason": "decommissioned, ticket 4711")"),
              std::string::npos);
}

// Each identity value, as name=value in field order, from a parsed identity object.
std::string Fields(const JsonValue& identity) {
    std::string text;
    for (const auto& [name, value] : identity.members) {
        text += name + "=" + (value.type == JsonValue::Type::Null ? "<null>" : value.text) + "|";
    }
    return text;
}

TEST(Findings, NamesWithQuotesSeparatorsNonAsciiAndControlCharactersReachKeysAndJsonIntact) {
    const Database database("findings_names", kCatalogue);
    // Two owner and table pairs that read alike once joined with a dot, and a name that spells a piece of a
    // key; the registry rows differ only in a row-id column that is NULL, empty or blank.
    const std::vector<std::pair<std::string, std::string>> layers = {
        {"A.B", "C"},
        {"A", "B.C"},
        {"GIS", "Ro\"ad"},
        {"GIS", "it's"},
        {"GIS", "X;Y"},
        {"GIS",
         "Stra\xC3\x9F"
         "e_\xD0\x96_\xE9\x81\x93"},
        {"GIS", "T\tA\nB\x01"},
        {"GIS", R"(K","table":"Z)"},
    };
    std::string sql =
        "DELETE FROM tsl.layers; DELETE FROM tsl.geometry_columns; DELETE FROM tsl.table_registry; "
        "INSERT INTO tsl.table_registry (registration_id, table_name, owner, rowid_column) VALUES "
        "(1, 'GONE', 'GIS', NULL), (2, 'GONE', 'GIS', ''), (3, 'GONE', 'GIS', '   '); "
        "INSERT INTO tsl.layers (layer_id, owner, table_name, spatial_column) VALUES ";
    for (std::size_t i = 0; i < layers.size(); ++i) {
        sql += (i == 0 ? "(" : ", (") + std::to_string(i + 1) + ", " + testsupport::PgText(layers[i].first) +
               ", " + testsupport::PgText(layers[i].second) + ", 'SHAPE')";
    }
    PgCluster::Shared().Execute("findings_names", sql);

    const HeadlessRun run("findings_names");
    std::set<std::string> keys;
    for (const Found& f : run.findings) {
        keys.insert(f.key);
        // The key is the JSON text of [kind, identity]: read back, it gives the finding's own values.
        const JsonParse key = ReadJson(f.key);
        ASSERT_TRUE(key.value) << key.error << ": " << f.key;
        ASSERT_EQ(key.value->items.size(), 2u);
        EXPECT_EQ(key.value->items[0].text, f.kind);
        EXPECT_EQ(Fields(key.value->items[1]), Fields(*f.identity));
    }
    EXPECT_EQ(keys.size(), run.findings.size()) << "two findings share a key";

    std::vector<std::string> registry;
    std::map<std::pair<std::string, std::string>, std::string> kinds;
    for (const Found& f : run.findings) {
        if (f.position == 4) {
            registry.push_back(Value(f, "column"));
        } else if (f.position == 9) {
            kinds[{Value(f, "owner"), Value(f, "table")}] = f.kind;
        }
    }
    EXPECT_EQ(registry, (std::vector<std::string>{"<null>", "", "   "}));
    ASSERT_EQ(kinds.size(), layers.size());
    for (const auto& name : layers) {
        EXPECT_EQ(kinds.count(name), 1u) << testing::PrintToString(name);
    }
    EXPECT_EQ((kinds[{"GIS", "X;Y"}]), "refused-statement");
    EXPECT_EQ((kinds[{"GIS", layers[5].second}]), "missing-table-or-view");
}

// Its listing stops at 25 orphans: with more, the rows after the 25th are not probed, and the check says so.
TEST(Findings, AnOrphanedEntryCheckCutShortByItsReportLimitIsMarkedTruncated) {
    const Database database("findings_limit", kCatalogue);
    for (const int orphans : {25, 30}) {
        PgCluster::Shared().Execute(
            "findings_limit",
            "DELETE FROM tsl.layers; INSERT INTO tsl.layers (layer_id, owner, table_name, spatial_column) "
            "SELECT i, "
            "'GIS', 'LOST_' || lpad(i::text, 2, '0'), 'SHAPE' FROM generate_series(1, " +
                std::to_string(orphans) + ") AS i");
        const HeadlessRun run("findings_limit");
        const JsonValue& layers = run.Test(9);
        EXPECT_EQ(layers.Member("findings")->items.size(), 25u) << orphans;
        EXPECT_EQ(layers.Member("truncated")->boolean, orphans > 25) << orphans;
        EXPECT_FALSE(run.Test(4).Member("truncated")->boolean);
    }
}

TEST(Findings, TheIndexAnalysisNamesEachSideTableAndIndexOfTheLayer) {
    // ROADS lost its feature table, PARCELS (versioned) its adds table and D41_IDX2, STREAMS has GX and GY
    // swapped in S14_IX1; RIVERS is healthy.
    const Database database("findings_indexes", {"tessel_schema.sql", "oracle_dictionary.sql",
                                                 "compressed_binary/layer_builder.sql"});
    PgCluster::Shared().Execute(
        "findings_indexes",
        "SELECT fixture_cb_layer('GIS', 'PARCELS', 'SHAPE', 'OBJECTID', 13, 41, p_versioned => true); "
        "SELECT fixture_cb_layer('GIS', 'RIVERS', 'SHAPE', 'OBJECTID', 15, 43); "
        "SELECT fixture_cb_layer('GIS', 'ROADS', 'SHAPE', 'OBJECTID', 12, 40); "
        "SELECT fixture_cb_layer('GIS', 'STREAMS', 'SHAPE', 'OBJECTID', 14, 42); "
        "DROP TABLE gis.f12; DROP TABLE gis.a41; DROP INDEX gis.d41_idx2; DROP INDEX gis.s14_ix1; "
        "CREATE UNIQUE INDEX s14_ix1 ON gis.s14 (gy, gx, emaxx, emaxy, eminx, eminy, sp_fid)");
    const HeadlessRun run("findings_indexes");
    std::vector<std::string> seen;
    for (const Found& f : run.findings) {
        if (f.position == 16) {
            seen.push_back(f.kind + " " + Fields(*f.identity));
        }
    }
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (std::vector<std::string>{
                        "incorrectly-configured-index owner=GIS|table=S14|layerId=14|index=S14_IX1|",
                        "missing-index owner=GIS|table=D41|layerId=13|index=D41_IDX2|",
                        "missing-table-or-view owner=GIS|table=A41|layerId=13|",
                        "missing-table-or-view owner=GIS|table=F12|layerId=12|",
                    }));
}

// Alone in its ctest entry: it stops the server that the other database tests share.
TEST(FindingsAfterRestart, KeysAreTheSameAfterTheServerRestarts) {
    const Database database("findings_restart", kCatalogue);
    const HeadlessRun before("findings_restart");
    PgCluster::Shared().StopServer();
    PgCluster::Shared().StartServer();
    const HeadlessRun after("findings_restart");
    EXPECT_EQ(after.status, before.status) << after.err;
    EXPECT_EQ(after.SortedKeys(), before.SortedKeys());
    EXPECT_EQ(after.findings.size(), 4u);
}

}  // namespace
}  // namespace tabvet
