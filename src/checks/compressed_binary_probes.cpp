// The expected side tables and indexes of a compressed-binary layer as data, and the one way to probe them.
// The statements are the data dictionary's own idiom; every fragment is spelt as the servers have always
// been sent it, odd blanks included, so that traces compare with earlier runs.
#include "compressed_binary_probes.h"

#include <array>

#include "db/recordset.h"

namespace tabvet {
namespace {

// clang-format off
constexpr std::array kExpectedIndexes{
    ExpectedIndex{.step = IndexStep::CheckBusinessTableIndexes,
                  .name = {"A", NameId::Layer, "_IX1"},
                  .table = SideTable::LayerTable,
                  .requiredColumns = 1,
                  .cond = {"' AND COLUMN_NAME = '", RowColumn::Spatial,
                           "' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') + "},
                  .uniquenessWeight = 10000,
                  .form = QueryForm::Spaced,
                  .expectedScore = 10101},
    ExpectedIndex{.step = IndexStep::CheckBusinessTableIndexes,
                  .name = {"R", NameId::Registration, "_TSL_ROWID_UK"},
                  .table = SideTable::LayerTable,
                  .requiredColumns = 1,
                  .cond = {"' AND COLUMN_NAME = '", RowColumn::RowId,
                           "' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') + "},
                  .uniquenessWeight = 10000,
                  .form = QueryForm::Spaced,
                  .expectedScore = 10101,
                  .onlyWithRowIdColumn = true},
    ExpectedIndex{.step = IndexStep::CheckFeatureTableIndexes,
                  .name = {"F", NameId::Layer, "_AREA_IX2"},
                  .table = SideTable::Feature,
                  .requiredColumns = 1,
                  .cond = {"' AND COLUMN_NAME = 'AREA'"
                           " AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') + "},
                  .uniquenessWeight = 0,
                  .form = QueryForm::Spaced,
                  .expectedScore = 101},
    ExpectedIndex{.step = IndexStep::CheckFeatureTableIndexes,
                  .name = {"F", NameId::Layer, "_LEN_IX3"},
                  .table = SideTable::Feature,
                  .requiredColumns = 1,
                  .cond = {"' AND COLUMN_NAME = 'LEN'"
                           " AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') + "},
                  .uniquenessWeight = 0,
                  .form = QueryForm::Spaced,
                  .expectedScore = 101},
    ExpectedIndex{.step = IndexStep::CheckFeatureTableIndexes,
                  .name = {"F", NameId::Layer, "_UK1"},
                  .table = SideTable::Feature,
                  .requiredColumns = 1,
                  .cond = {"' AND COLUMN_NAME = 'FID' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') + "},
                  .uniquenessWeight = 1000,
                  .form = QueryForm::Spaced,
                  .expectedScore = 1101},
    ExpectedIndex{.step = IndexStep::CheckSpatialIndexTableIndexes,
                  .name = {"S", NameId::Layer, "_IX1"},
                  .table = SideTable::SpatialIndex,
                  .requiredColumns = 7,
                  .cond = {" (COLUMN_NAME='GX' AND COLUMN_POSITION=1 AND DESCEND='ASC')  OR "
                           " (COLUMN_NAME='GY' AND COLUMN_POSITION=2 AND DESCEND='ASC')  OR "
                           " (COLUMN_NAME='EMAXX' AND COLUMN_POSITION=3 AND DESCEND='ASC')  OR "
                           " (COLUMN_NAME='EMAXY' AND COLUMN_POSITION=4 AND DESCEND='ASC')  OR "
                           " (COLUMN_NAME='EMINX' AND COLUMN_POSITION=5 AND DESCEND='ASC')  OR "
                           " (COLUMN_NAME='EMINY' AND COLUMN_POSITION=6 AND DESCEND='ASC')  OR "
                           " (COLUMN_NAME='SP_FID' AND COLUMN_POSITION=7 AND DESCEND='ASC') "},
                  .uniquenessWeight = 10000,
                  .form = QueryForm::Compact,
                  .expectedScore = 10707},
    ExpectedIndex{.step = IndexStep::CheckSpatialIndexTableIndexes,
                  .name = {"S", NameId::Layer, "_IX2"},
                  .table = SideTable::SpatialIndex,
                  .requiredColumns = 1,
                  .cond = {"' AND COLUMN_NAME = 'SP_FID'"
                           " AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') + "},
                  .uniquenessWeight = 0,
                  .form = QueryForm::Spaced,
                  .expectedScore = 101},
    // Named after the layer although its table carries the registration number.
    ExpectedIndex{.step = IndexStep::CheckAddsTableIndexes,
                  .name = {"A", NameId::Layer, "_IX1_A"},
                  .table = SideTable::Adds,
                  .requiredColumns = 1,
                  .cond = {"' AND "
                           " (COLUMN_NAME = '", RowColumn::Spatial,
                           "' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC')) + "},
                  .uniquenessWeight = 0,
                  .form = QueryForm::Spaced,
                  .expectedScore = 101},
    ExpectedIndex{.step = IndexStep::CheckAddsTableIndexes,
                  .name = {"A", NameId::Registration, "_PK"},
                  .table = SideTable::Adds,
                  .requiredColumns = 2,
                  .cond = {" (COLUMN_NAME='TSL_STATE_ID' AND COLUMN_POSITION=1 AND DESCEND='ASC')  OR "
                           " (COLUMN_NAME='", RowColumn::RowId,
                           "' AND COLUMN_POSITION=2 AND DESCEND='ASC') "},
                  .uniquenessWeight = 10000,
                  .form = QueryForm::Compact,
                  .expectedScore = 10202},
    ExpectedIndex{.step = IndexStep::CheckAddsTableIndexes,
                  .name = {"A", NameId::Registration, "_ROWID_IX1"},
                  .table = SideTable::Adds,
                  .requiredColumns = 1,
                  .cond = {"' AND "
                           " (COLUMN_NAME = '", RowColumn::RowId,
                           "' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC')) + "},
                  .uniquenessWeight = 0,
                  .form = QueryForm::Spaced,
                  .expectedScore = 101},
    ExpectedIndex{.step = IndexStep::CheckAddsTableIndexes,
                  .name = {"A", NameId::Registration, "_STATE_IX2"},
                  .table = SideTable::Adds,
                  .requiredColumns = 1,
                  .cond = {"' AND "
                           " (COLUMN_NAME = 'TSL_STATE_ID' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC')) + "},
                  .uniquenessWeight = 0,
                  .form = QueryForm::Spaced,
                  .expectedScore = 101},
    ExpectedIndex{.step = IndexStep::CheckDeletesTableIndexes,
                  .name = {"D", NameId::Registration, "_PK"},
                  .table = SideTable::Deletes,
                  .requiredColumns = 3,
                  .cond = {"' AND "
                           " ((COLUMN_NAME = 'DELETED_AT' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') OR "
                           " (COLUMN_NAME = 'TSL_DELETES_ROW_ID' AND COLUMN_POSITION = 2 AND DESCEND = 'ASC') OR "
                           " (COLUMN_NAME = 'TSL_STATE_ID' AND COLUMN_POSITION = 3 AND DESCEND = 'ASC')))+ "},
                  .uniquenessWeight = 1000,
                  .form = QueryForm::Spaced,
                  .expectedScore = 1303},
    ExpectedIndex{.step = IndexStep::CheckDeletesTableIndexes,
                  .name = {"D", NameId::Registration, "_IDX1"},
                  .table = SideTable::Deletes,
                  .requiredColumns = 2,
                  .cond = {"' AND "
                           " ((COLUMN_NAME = 'TSL_STATE_ID' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC') OR "
                           " (COLUMN_NAME = 'TSL_DELETES_ROW_ID' AND COLUMN_POSITION = 2 AND DESCEND = 'ASC'))) + "},
                  .uniquenessWeight = 0,
                  .form = QueryForm::Spaced,
                  .expectedScore = 202},
    ExpectedIndex{.step = IndexStep::CheckDeletesTableIndexes,
                  .name = {"D", NameId::Registration, "_IDX2"},
                  .table = SideTable::Deletes,
                  .requiredColumns = 1,
                  .cond = {"' AND "
                           " (COLUMN_NAME = 'DELETED_AT' AND COLUMN_POSITION = 1 AND DESCEND = 'ASC')) + "},
                  .uniquenessWeight = 0,
                  .form = QueryForm::Spaced,
                  .expectedScore = 101},
};

constexpr std::array kExistenceProbes{
    ExistenceProbe{.step = ExistenceStep::FeatureTableExists,
                   .selectList = "SELECT A.FID, A.NUMOFPTS, A.ENTITY, A.EMINX, A.EMINY,"
                                 " A.EMAXX, A.EMAXY, A.EMINZ, A.EMAXZ, A.MIN_MEASURE,"
                                 " A.MAX_MEASURE, A.AREA, A.LEN, A.POINTS FROM ",
                   .column = RowColumn::None,
                   .from = "",
                   .table = SideTable::Feature,
                   .tail = " A WHERE 1 = 2"},
    ExistenceProbe{.step = ExistenceStep::SpatialIndexTableExists,
                   .selectList = "SELECT A.SP_FID, A.GX, A.GY, A.EMINX, A.EMINY, A.EMAXX, A.EMAXY ",
                   .column = RowColumn::None,
                   .from = " FROM ",
                   .table = SideTable::SpatialIndex,
                   .tail = " A WHERE 1 = 2"},
    // Without a row-id column this select list is left dangling and the probe fails, as it should.
    ExistenceProbe{.step = ExistenceStep::AddsTableExists,
                   .selectList = "SELECT TSL_STATE_ID, ",
                   .column = RowColumn::RowId,
                   .from = " FROM ",
                   .table = SideTable::Adds,
                   .tail = " WHERE 1 = 2"},
    ExistenceProbe{.step = ExistenceStep::DeletesTableExists,
                   .selectList = "SELECT DELETED_AT, TSL_DELETES_ROW_ID, TSL_STATE_ID FROM ",
                   .column = RowColumn::None,
                   .from = "",
                   .table = SideTable::Deletes,
                   .tail = " WHERE 1 = 2"},
};
// clang-format on

// A right index scores one per matching column triple, a hundred per column and the uniqueness weight;
// the compact form always carries the 10000 term.
constexpr bool ScoresAreConsistent() {
    for (const ExpectedIndex& index : kExpectedIndexes) {
        if (index.expectedScore != 101 * index.requiredColumns + index.uniquenessWeight) {
            return false;
        }
        if (index.form == QueryForm::Compact && index.uniquenessWeight != 10000) {
            return false;
        }
    }
    return true;
}
static_assert(ScoresAreConsistent(), "an expected score does not follow from its columns and weight");

constexpr bool ExistenceProbesInStepOrder() {
    for (std::size_t i = 0; i < kExistenceProbes.size(); ++i) {
        if (static_cast<std::size_t>(kExistenceProbes[i].step) != i) {
            return false;
        }
    }
    return kExistenceProbes.size() == 4;
}
static_assert(ExistenceProbesInStepOrder(), "existence probes are looked up by their step");

const std::string& RowColumnValue(RowColumn column, const LayerValues& layer) {
    static const std::string none;
    switch (column) {
        case RowColumn::Spatial:
            return layer.spatialColumn;
        case RowColumn::RowId:
            return layer.rowIdColumn;
        case RowColumn::None:
            break;
    }
    return none;
}

std::string Numbered(const char* letter, NameId id, const LayerValues& layer) {
    return letter + std::to_string(id == NameId::Layer ? layer.layerId : layer.registrationId);
}

std::string Condition(const ColumnCondition& cond, const LayerValues& layer) {
    return cond.head + RowColumnValue(cond.column, layer) + cond.tail;
}

}  // namespace

std::span<const ExpectedIndex> ExpectedIndexes() {
    return kExpectedIndexes;
}

bool IsProbed(const ExpectedIndex& index, IndexStep step, const LayerValues& layer) {
    return index.step == step && !(index.onlyWithRowIdColumn && layer.rowIdColumn.empty());
}

const ExistenceProbe& ExistenceProbeFor(ExistenceStep step) {
    return kExistenceProbes[static_cast<std::size_t>(step)];
}

std::string SideTableName(SideTable table, const LayerValues& layer) {
    switch (table) {
        case SideTable::LayerTable:
            return layer.tableName;
        case SideTable::Feature:
            return Numbered("F", NameId::Layer, layer);
        case SideTable::SpatialIndex:
            return Numbered("S", NameId::Layer, layer);
        case SideTable::Adds:
            return Numbered("A", NameId::Registration, layer);
        case SideTable::Deletes:
            return Numbered("D", NameId::Registration, layer);
    }
    return {};
}

std::string QualifiedSideTableName(SideTable table, const LayerValues& layer) {
    return layer.owner + "." + SideTableName(table, layer);
}

std::string IndexName(const ExpectedIndex& index, const LayerValues& layer) {
    return Numbered(index.name.letter, index.name.id, layer) + index.name.suffix;
}

std::string IndexScoreQuery(const ExpectedIndex& index, const LayerValues& layer) {
    const std::string& owner = layer.owner;
    const std::string name = IndexName(index, layer);
    const std::string table = SideTableName(index.table, layer);
    const std::string cond = Condition(index.cond, layer);
    const std::string weight = std::to_string(index.uniquenessWeight);

    // The column term is spelt alike in both forms.
    const std::string columnTerm =
        "((SELECT COUNT(*)"
        " FROM ALL_IND_COLUMNS"
        " WHERE TABLE_OWNER = '" +
        owner + "' AND INDEX_NAME = '" + name + "' AND TABLE_NAME = '" + table + "') * 100)";
    if (index.form == QueryForm::Compact) {
        return "SELECT "
               "(SELECT COUNT(*)"
               " FROM ALL_IND_COLUMNS"
               " WHERE TABLE_OWNER='" +
               owner + "' AND INDEX_NAME='" + name + "' AND TABLE_NAME='" + table + "' AND (" + cond +
               ")) + " + columnTerm +
               "  + "
               "((SELECT COUNT(*) FROM ALL_INDEXES "
               " WHERE OWNER='" +
               owner + "' AND INDEX_NAME='" + name + "' AND TABLE_NAME='" + table +
               "' AND UNIQUENESS='UNIQUE') * " + weight + " ) FROM DUAL";
    }
    std::string sql =
        "SELECT "
        "(SELECT COUNT(*)"
        " FROM ALL_IND_COLUMNS"
        " WHERE TABLE_OWNER = '" +
        owner + "' AND INDEX_NAME = '" + name + "' AND TABLE_NAME = '" + table + cond + columnTerm;
    if (index.uniquenessWeight == 0) {
        return sql + "  FROM DUAL";
    }
    return sql +
           " + "
           "((SELECT COUNT(*) FROM ALL_INDEXES "
           " WHERE OWNER = '" +
           owner + "' AND INDEX_NAME = '" + name + "' AND TABLE_NAME = '" + table +
           "' AND UNIQUENESS = 'UNIQUE') * " + weight + " ) FROM DUAL";
}

std::string ExistenceQuery(const ExistenceProbe& probe, const LayerValues& layer) {
    return probe.selectList + RowColumnValue(probe.column, layer) + probe.from +
           QualifiedSideTableName(probe.table, layer) + probe.tail;
}

IndexVerdict ProbeIndex(const ExpectedIndex& index, const LayerValues& layer, Connection& conn) {
    Recordset rs;
    rs.OpenSuppressed(IndexScoreQuery(index, layer), conn);
    IndexVerdict verdict = IndexVerdict::Right;
    if (conn.Errors().Count() > 0) {
        verdict = IndexVerdict::LookupError;
    } else if (rs.Bof() || rs.Eof()) {
        verdict = IndexVerdict::Missing;
    } else {
        const std::int32_t score = ToInt32(rs.Fields(0));
        if (score == 0) {
            verdict = IndexVerdict::Missing;
        } else if (score != index.expectedScore) {
            verdict = IndexVerdict::Incorrect;
        }
    }
    rs.CloseIfOpen();
    return verdict;
}

bool ProbeTableExists(const ExistenceProbe& probe, const LayerValues& layer, Connection& conn) {
    Recordset rs;
    rs.OpenSuppressed(ExistenceQuery(probe, layer), conn);
    const bool exists = conn.Errors().Count() == 0;
    rs.CloseIfOpen();
    return exists;
}

}  // namespace tabvet
