// Only the opens are trapped (errors suppressed, then the error list is read); a failing probe makes its
// layer fail and the walk goes on. Field reads and conversions are left to escape to the run.
#include "compressed_binary_index_check.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "db/line_break.h"
#include "db/probes_ahead.h"
#include "db/recordset.h"
#include "framework/ado_test_base.h"

namespace tabvet {

const IndexAnalysisRow kIdxLyrBinOra{
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

namespace {

// Every reported line is preceded by an empty line.
const std::string kLineAfterEmptyLine = std::string(kCrLf) + kCrLf;

// Widens the 16-bit count of walked layers the classic way: past 32767 it raises "Overflow".
std::int16_t CountLayer(std::int16_t layersWalked) {
    return RoundToInt16(layersWalked + 1.0);
}

bool IsLoadOnlyIo(std::int32_t eflags) {
    return (eflags & layer_flags::kLoadOnlyIo) == layer_flags::kLoadOnlyIo;
}

bool IsVersioned(std::int32_t objectFlags) {
    return (objectFlags & layer_flags::kVersioned) == layer_flags::kVersioned;
}

// A table of a layer as findings name it: the owner and the table name the probes use, and the layer.
FindingIdentity SideTableIdentity(SideTable table, const LayerValues& layer) {
    FindingIdentity identity;
    identity.Set(IdentityField::Owner, layer.owner)
        .Set(IdentityField::Table, SideTableName(table, layer))
        .Set(IdentityField::LayerId, std::to_string(layer.layerId));
    return identity;
}

// The label that closes a failing layer's block: OWNER.TABLE.COLUMN (#id).
std::string LayerLabel(const LayerValues& layer) {
    return layer.owner + "." + layer.tableName + "." + layer.spatialColumn + " (#" +
           std::to_string(layer.layerId) + ")";
}

// One row of the walk, read in the order the check reads it, so that a NULL or a bad number raises where it
// always has.
struct WalkedLayer {
    LayerValues values;
    bool loadOnly = false;
    bool versioned = false;
};
template <typename FieldOf>
WalkedLayer ReadLayer(const FieldOf& field) {
    WalkedLayer layer;
    layer.values.spatialColumn = ToText(field(0));
    layer.values.tableName = ToText(field(1));
    layer.values.owner = ToText(field(2));
    layer.values.layerId = ToInt32(field(3));
    layer.loadOnly = IsLoadOnlyIo(ToInt32(field(4)));
    layer.values.registrationId = ToInt32(field(5));
    layer.versioned = IsVersioned(ToInt32(field(6)));
    layer.values.rowIdColumn = TextOrEmpty(field(7));
    return layer;
}

// The order of one layer's probes, written once for the check and for the script that runs them ahead:
// `tableExists` and `checkIndexes` each say whether their step found everything right.
template <typename TableExists, typename CheckIndexes>
bool WalkLayerProbes(bool loadOnly, bool versioned, const TableExists& tableExists,
                     const CheckIndexes& checkIndexes) {
    bool layerOk = true;
    // A load-only layer has no business-table or feature-table indexes to check, and no spatial index at
    // all; its feature table must still exist.
    if (!loadOnly && !checkIndexes(IndexStep::CheckBusinessTableIndexes)) {
        layerOk = false;
    }
    if (!tableExists(ExistenceStep::FeatureTableExists)) {
        layerOk = false;
    } else if (!loadOnly && !checkIndexes(IndexStep::CheckFeatureTableIndexes)) {
        layerOk = false;
    }
    if (!loadOnly) {
        if (!tableExists(ExistenceStep::SpatialIndexTableExists)) {
            layerOk = false;
        } else if (!checkIndexes(IndexStep::CheckSpatialIndexTableIndexes)) {
            layerOk = false;
        }
    }
    if (versioned) {
        if (!tableExists(ExistenceStep::AddsTableExists)) {
            layerOk = false;
        } else if (!checkIndexes(IndexStep::CheckAddsTableIndexes)) {
            layerOk = false;
        }
        // The deletes table is checked whatever the adds table gave.
        if (!tableExists(ExistenceStep::DeletesTableExists)) {
            layerOk = false;
        } else if (!checkIndexes(IndexStep::CheckDeletesTableIndexes)) {
            layerOk = false;
        }
    }
    return layerOk;
}

// The statements the check sends for a layer, in its order, for another connection to run ahead: whether a
// side table exists decides, as in the check, whether its indexes are probed.
void SendLayerProbes(const WalkedLayer& walked, ProbeSender& sender) {
    const LayerValues& layer = walked.values;
    WalkLayerProbes(
        walked.loadOnly, walked.versioned,
        [&](ExistenceStep step) { return sender.Send(ExistenceQuery(ExistenceProbeFor(step), layer)); },
        [&](IndexStep step) {
            for (const ExpectedIndex& index : ExpectedIndexes()) {
                if (IsProbed(index, step, layer)) {
                    sender.Send(IndexScoreQuery(index, layer));
                }
            }
            return true;
        });
}

std::string WalkStatement(const IndexAnalysisRow& row, const std::string& layersTable,
                          const std::string& tableRegistryTable) {
    return row.walkSelectList + std::string("FROM ") + layersTable + " l, " + tableRegistryTable +
           " t where " + row.walkJoin + row.walkFilterHead + std::to_string(layer_flags::kCompressedBinary) +
           row.walkFilterTail;
}

class IndexAnalysis final : public AdoTestBase {
  public:
    IndexAnalysis(const TestDefinition& definition, const IndexAnalysisRow& row,
                  const TestEnvironment& environment)
        : AdoTestBase(definition,
                      {.startText = "",
                       .startsPassing = true,
                       .open = OpenStyle::ErrorsSuppressed,
                       .openFailurePrefix = row.walkErrorPrefix + std::string(kCrLf),
                       .clearsErrorsAfterFailedOpen = true},
                      environment),
          row_(row) {}

  private:
    std::optional<std::string> Statement() override {
        const auto layers = QualifiedNames({row_.layersTable}, row_.cannotTranslateLayers);
        if (!layers) {
            return std::nullopt;
        }
        const auto tableRegistry =
            QualifiedNames({row_.tableRegistryTable}, row_.cannotTranslateTableRegistry);
        if (!tableRegistry) {
            return std::nullopt;
        }
        return WalkStatement(row_, layers->front(), tableRegistry->front());
    }

    void Read(Recordset& rs, Connection& conn) override {
        if (rs.Bof() || rs.Eof()) {
            // A schema without compressed-binary layers passes.
            resultDetails_ = row_.noLayers;
            return;
        }
        std::int16_t layersWalked = 0;
        WalkProgress progress(Environment(), rs.RecordCount());
        ProbesAhead ahead(Environment().Probes(), conn);
        rs.MoveFirst();
        while (!rs.Eof()) {
            progress.Walked(rs.RowIndex());
            QueueAhead(rs, ahead);
            layersWalked = CountLayer(layersWalked);
            const WalkedLayer walked =
                ReadLayer([&rs](int position) -> const FieldValue& { return rs.Fields(position); });
            const LayerValues& layer = walked.values;
            ahead.Enter(rs.RowIndex());
            const bool layerOk = WalkLayerProbes(
                walked.loadOnly, walked.versioned,
                [&](ExistenceStep step) { return TableExists(step, layer, conn); },
                [&](IndexStep step) { return CheckIndexes(step, layer, conn); });
            if (!layerOk) {
                pass_ = false;
                resultDetails_ += kCrLf + (row_.layerFooterHead + LayerLabel(layer)) + row_.layerFooterTail;
            }
            rs.MoveNext();
        }
        rs.Close();
        if (pass_) {
            resultDetails_ += kLineAfterEmptyLine + row_.passText;
        }
    }

    // Queues the probes of the layers ahead, as many as keep the extra connections busy, but none past the
    // layer whose 16-bit count overflows: the walk raises there.
    static void QueueAhead(const Recordset& rs, ProbesAhead& ahead) {
        const auto countable = static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max());
        ahead.Queue(rs.RowIndex(), std::min(rs.RecordCount(), countable),
                    std::numeric_limits<std::size_t>::max(),
                    [&rs](std::size_t row) -> std::optional<ProbeScript> {
                        const WalkedLayer walked = ReadLayer([&rs, row](int position) -> const FieldValue& {
                            return rs.FieldAt(row, position);
                        });
                        return [walked](ProbeSender& sender) { SendLayerProbes(walked, sender); };
                    });
    }

    bool CheckIndexes(IndexStep step, const LayerValues& layer, Connection& conn) {
        bool allRight = true;
        // Every probe of the step runs, whatever the earlier ones gave, so that one run lists all faults.
        for (const ExpectedIndex& index : ExpectedIndexes()) {
            if (!IsProbed(index, step, layer)) {
                continue;
            }
            const std::string name = IndexName(index, layer);
            FindingIdentity identity = SideTableIdentity(index.table, layer);
            identity.Set(IdentityField::Index, name);
            switch (ProbeIndex(index, layer, conn)) {
                case IndexVerdict::Right:
                    continue;
                case IndexVerdict::LookupError:
                    AddLine(row_.indexLookupError + name + ": " + ErrorListText(conn));
                    RecordFinding(KindOfFailure(conn.Errors(), FailedObject::Dictionary), std::move(identity),
                                  ErrorsOf(conn.Errors()));
                    break;
                case IndexVerdict::Missing:
                    AddLine(row_.missingIndex + name);
                    RecordFinding(FindingKind::MissingIndex, std::move(identity));
                    break;
                case IndexVerdict::Incorrect:
                    AddLine(row_.incorrectIndex + name);
                    RecordFinding(FindingKind::IncorrectlyConfiguredIndex, std::move(identity));
                    break;
            }
            allRight = false;
        }
        return allRight;
    }

    bool TableExists(ExistenceStep step, const LayerValues& layer, Connection& conn) {
        const ExistenceProbe& probe = ExistenceProbeFor(step);
        if (ProbeTableExists(probe, layer, conn)) {
            return true;
        }
        AddLine(row_.tableLookupError + QualifiedSideTableName(probe.table, layer) + ": " +
                ErrorListText(conn));
        // The probe selects the columns the table needs, so a missing column shows here too.
        RecordFinding(KindOfFailure(conn.Errors(), FailedObject::UserObject),
                      SideTableIdentity(probe.table, layer), ErrorsOf(conn.Errors()));
        return false;
    }

    void AddLine(const std::string& line) { resultDetails_ += kLineAfterEmptyLine + line; }

    const IndexAnalysisRow& row_;
};

}  // namespace

std::string CompressedBinaryWalkStatement(const std::string& layersTable,
                                          const std::string& tableRegistryTable) {
    return WalkStatement(kIdxLyrBinOra, layersTable, tableRegistryTable);
}

std::unique_ptr<IAdoTest> MakeCheck(const TestDefinition& definition, const IndexAnalysisRow& row,
                                    const TestEnvironment& environment) {
    return std::make_unique<IndexAnalysis>(definition, row, environment);
}

}  // namespace tabvet
