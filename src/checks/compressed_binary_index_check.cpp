// Only the opens are trapped (errors suppressed, then the error list is read); a failing probe makes its
// layer fail and the walk goes on. Field reads and conversions are left to escape to the run.
#include "compressed_binary_index_check.h"

#include "db/conn_error_string.h"
#include "db/recordset.h"

namespace tabvet {

/// The constant part of the index analysis: identity, system tables, statement fragments and result texts.
struct IndexAnalysisConstants {
    TestDefinition definition;
    const char* layersTable;
    const char* tableRegistryTable;
    const char* cannotTranslateLayers;
    const char* cannotTranslateTableRegistry;
    const char* walkSelectList;
    const char* walkJoin;
    const char* walkFilterHead;
    const char* walkFilterTail;
    const char* walkErrorPrefix;
    const char* noLayers;
    const char* layerFooterHead;
    const char* layerFooterTail;
    const char* passText;
    const char* incorrectIndex;
    const char* missingIndex;
    const char* indexLookupError;
    const char* tableLookupError;
};

namespace {

const IndexAnalysisConstants kIdxLyrBinOra{
    .definition = {.className = "clsTst_IdxLyrBinOra",
                   .name = "Tessel for Oracle Compressed Binary format complete",
                   .category = category::kIndexAnalysis,
                   .description =
                       "Check whether indexes on Tessel for Oracle compressed binary layer have correct "
                       "indexes. Also checks indexes on ADDs and DELETE tables.",
                   .fatal = false,
                   .worksWithOracle = true,
                   .worksWithSqlServer = false,
                   .worksWithInformix = false,
                   .worksWithDb2 = false,
                   .versionRule = VersionRule::V4},
    .layersTable = "LAYERS",
    .tableRegistryTable = "TABLE_REGISTRY",
    .cannotTranslateLayers = "Cannot translate system table name for LAYERS",
    .cannotTranslateTableRegistry = "Cannot translate system table name for TABLE_REGISTRY",
    // Two blanks before l.eflags: the text is compared with what servers have logged for years.
    .walkSelectList =
        "SELECT l.spatial_column, l.table_name, l.owner, l.layer_id,  l.eflags, "
        "t.registration_id, t.object_flags, t.rowid_column ",
    .walkJoin = "l.owner = t.owner and l.table_name = t.table_name ",
    .walkFilterHead = "and bitand(l.eflags,",
    .walkFilterTail = ")+0 <> 0",
    .walkErrorPrefix = "Errors selecting rows from LAYERS and TABLE_REGISTRY tables: ",
    .noLayers = "No rows match in LAYERS and TABLE_REGISTRY table",
    .layerFooterHead = "(The previous errors were for layer ",
    .layerFooterTail = ")",
    .passText = "All tables and indexes that make up each compressed binary layer exist",
    .incorrectIndex = "Error: Incorrectly configured index ",
    .missingIndex = "Error: Missing index ",
    .indexLookupError = "Error looking for index ",
    .tableLookupError = "Error looking for table ",
};

constexpr const char* kCrLf = common_text::kCrLf;
// Every reported line is preceded by an empty line.
const std::string kLineAfterEmptyLine = std::string(kCrLf) + kCrLf;

// Widens the 16-bit count of walked layers the classic way: past 32767 it raises "Overflow".
std::int16_t CountLayer(std::int16_t layersWalked) {
    return RoundToInt16(layersWalked + 1.0);
}

}  // namespace

bool IsLoadOnlyIo(std::int32_t eflags) {
    return (eflags & layer_flags::kLoadOnlyIo) == layer_flags::kLoadOnlyIo;
}

bool IsVersioned(std::int32_t objectFlags) {
    return (objectFlags & layer_flags::kVersioned) == layer_flags::kVersioned;
}

std::string CompressedBinaryWalkStatement(const std::string& layersTable,
                                          const std::string& tableRegistryTable) {
    const IndexAnalysisConstants& constants = kIdxLyrBinOra;
    return constants.walkSelectList + std::string("FROM ") + layersTable + " l, " + tableRegistryTable +
           " t where " + constants.walkJoin + constants.walkFilterHead +
           std::to_string(layer_flags::kCompressedBinary) + constants.walkFilterTail;
}

std::string LayerLabel(const LayerValues& layer) {
    return layer.owner + "." + layer.tableName + "." + layer.spatialColumn + " (#" +
           std::to_string(layer.layerId) + ")";
}

clsTst_IdxLyrBinOra::clsTst_IdxLyrBinOra(const TestEnvironment& environment)
    : AdoTestBase(kIdxLyrBinOra.definition, environment) {}

void clsTst_IdxLyrBinOra::Run(Connection* conn) {
    const IndexAnalysisConstants& constants = kIdxLyrBinOra;
    if (conn == nullptr) {
        // Deliberately before WasRun: a missing connection does not count as a run of this test.
        pass_ = false;
        resultDetails_ = common_text::kNoConnection;
        return;
    }
    wasRun_ = true;
    resultDetails_.clear();
    pass_ = true;

    const std::string layers = Environment().Namer().TslSystemTable(constants.layersTable);
    if (layers.empty()) {
        pass_ = false;
        resultDetails_ = constants.cannotTranslateLayers;
        return;
    }
    const std::string tableRegistry = Environment().Namer().TslSystemTable(constants.tableRegistryTable);
    if (tableRegistry.empty()) {
        pass_ = false;
        resultDetails_ = constants.cannotTranslateTableRegistry;
        return;
    }

    Recordset rs;
    rs.OpenSuppressed(CompressedBinaryWalkStatement(layers, tableRegistry), *conn);
    if (conn->Errors().Count() > 0) {
        clsConnErrorString formatter(Environment().Ui());
        resultDetails_ = constants.walkErrorPrefix + std::string(kCrLf) + formatter.Build(conn);
        pass_ = false;
        // The one place this test clears the list: a failed walk leaves nothing for later readers.
        conn->Errors().Clear();
    } else if (rs.Bof() || rs.Eof()) {
        // A schema without compressed-binary layers passes.
        resultDetails_ = constants.noLayers;
    } else {
        WalkLayers(rs, *conn);
    }
    if (rs.State() == Connection::kStateOpen) {
        rs.Close();
    }
}

void clsTst_IdxLyrBinOra::WalkLayers(Recordset& rs, Connection& conn) {
    const IndexAnalysisConstants& constants = kIdxLyrBinOra;
    std::int16_t layersWalked = 0;
    rs.MoveFirst();
    while (!rs.Eof()) {
        layersWalked = CountLayer(layersWalked);
        LayerValues layer;
        layer.spatialColumn = ToText(rs.Fields(0));
        layer.tableName = ToText(rs.Fields(1));
        layer.owner = ToText(rs.Fields(2));
        layer.layerId = ToInt32(rs.Fields(3));
        const std::int32_t eflags = ToInt32(rs.Fields(4));
        layer.registrationId = ToInt32(rs.Fields(5));
        const std::int32_t objectFlags = ToInt32(rs.Fields(6));
        layer.rowIdColumn = TextOrEmpty(rs.Fields(7));

        if (!CheckLayer(layer, IsLoadOnlyIo(eflags), IsVersioned(objectFlags), conn)) {
            pass_ = false;
            resultDetails_ +=
                kCrLf + (constants.layerFooterHead + LayerLabel(layer)) + constants.layerFooterTail;
        }
        rs.MoveNext();
    }
    rs.Close();
    if (pass_) {
        resultDetails_ += kLineAfterEmptyLine + constants.passText;
    }
}

bool clsTst_IdxLyrBinOra::CheckLayer(const LayerValues& layer, bool loadOnly, bool versioned,
                                     Connection& conn) {
    bool layerOk = true;
    // A load-only layer has no business-table or feature-table indexes to check, and no spatial index at all;
    // its feature table must still exist.
    if (!loadOnly && !CheckIndexes(IndexStep::CheckBusinessTableIndexes, layer, conn)) {
        layerOk = false;
    }
    if (!TableExists(ExistenceStep::FeatureTableExists, layer, conn)) {
        layerOk = false;
    } else if (!loadOnly && !CheckIndexes(IndexStep::CheckFeatureTableIndexes, layer, conn)) {
        layerOk = false;
    }
    if (!loadOnly) {
        if (!TableExists(ExistenceStep::SpatialIndexTableExists, layer, conn)) {
            layerOk = false;
        } else if (!CheckIndexes(IndexStep::CheckSpatialIndexTableIndexes, layer, conn)) {
            layerOk = false;
        }
    }
    if (versioned) {
        if (!TableExists(ExistenceStep::AddsTableExists, layer, conn)) {
            layerOk = false;
        } else if (!CheckIndexes(IndexStep::CheckAddsTableIndexes, layer, conn)) {
            layerOk = false;
        }
        // The deletes table is checked whatever the adds table gave.
        if (!TableExists(ExistenceStep::DeletesTableExists, layer, conn)) {
            layerOk = false;
        } else if (!CheckIndexes(IndexStep::CheckDeletesTableIndexes, layer, conn)) {
            layerOk = false;
        }
    }
    return layerOk;
}

bool clsTst_IdxLyrBinOra::CheckIndexes(IndexStep step, const LayerValues& layer, Connection& conn) {
    bool allRight = true;
    // Every probe of the step runs, whatever the earlier ones gave, so that one run lists all faults.
    for (const ExpectedIndex& index : ExpectedIndexes()) {
        if (index.step != step || (index.onlyWithRowIdColumn && layer.rowIdColumn.empty())) {
            continue;
        }
        const std::string name = IndexName(index, layer);
        switch (ProbeIndex(index, layer, conn)) {
            case IndexVerdict::Right:
                continue;
            case IndexVerdict::LookupError:
                AddIndexLookupError(conn, name);
                break;
            case IndexVerdict::Missing:
                AddMissingIndexError(name);
                break;
            case IndexVerdict::Incorrect:
                AddIncorrectIndexError(name);
                break;
        }
        allRight = false;
    }
    return allRight;
}

bool clsTst_IdxLyrBinOra::TableExists(ExistenceStep step, const LayerValues& layer, Connection& conn) {
    const ExistenceProbe& probe = ExistenceProbeFor(step);
    if (ProbeTableExists(probe, layer, conn)) {
        return true;
    }
    AddTableLookupError(conn, QualifiedSideTableName(probe.table, layer));
    return false;
}

void clsTst_IdxLyrBinOra::AddIncorrectIndexError(const std::string& index) {
    resultDetails_ += kLineAfterEmptyLine + kIdxLyrBinOra.incorrectIndex + index;
}

void clsTst_IdxLyrBinOra::AddMissingIndexError(const std::string& index) {
    resultDetails_ += kLineAfterEmptyLine + kIdxLyrBinOra.missingIndex + index;
}

void clsTst_IdxLyrBinOra::AddIndexLookupError(Connection& conn, const std::string& index) {
    clsConnErrorString formatter(Environment().Ui());
    const std::string errorText = formatter.Build(&conn);
    resultDetails_ += kLineAfterEmptyLine + kIdxLyrBinOra.indexLookupError + index + ": " + errorText;
    // Asked a second time on purpose: a formatter that consumed the error list would do it here.
    (void)formatter.Build(&conn);
}

void clsTst_IdxLyrBinOra::AddTableLookupError(Connection& conn, const std::string& table) {
    clsConnErrorString formatter(Environment().Ui());
    const std::string errorText = formatter.Build(&conn);
    resultDetails_ += kLineAfterEmptyLine + kIdxLyrBinOra.tableLookupError + table + ": " + errorText;
    (void)formatter.Build(&conn);
}

}  // namespace tabvet
