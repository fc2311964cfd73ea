// The probes of one compressed-binary layer: can its side tables be selected from, and does each expected
// index exist with the right columns, order, direction and uniqueness (one score per index, one round trip).
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "db/connection.h"

namespace tabvet {

/// The values of one walked layer that the probes use. Names are inserted into statements as read.
struct LayerValues {
    std::string owner;
    std::string tableName;
    std::string spatialColumn;
    std::string rowIdColumn;  ///< empty when the registration has none
    std::int32_t layerId = 0;
    std::int32_t registrationId = 0;
};

/// The tables that make up a layer: its own (business) table and the four side tables.
enum class SideTable { LayerTable, Feature, SpatialIndex, Adds, Deletes };

/// Which number a side table or index name carries.
enum class NameId { Layer, Registration };

/// A column that a statement takes from the layer row rather than from fixed text.
enum class RowColumn { None, Spatial, RowId };

/// The steps that probe indexes, in the order the check calls them for a layer.
enum class IndexStep {
    CheckBusinessTableIndexes,
    CheckFeatureTableIndexes,
    CheckSpatialIndexTableIndexes,
    CheckAddsTableIndexes,
    CheckDeletesTableIndexes,
};

/// The steps that prove a side table (and the columns it must have) can be selected from.
enum class ExistenceStep { FeatureTableExists, SpatialIndexTableExists, AddsTableExists, DeletesTableExists };

/// Spaced or compact spelling of the index score query; which one a probe uses is fixed per index.
enum class QueryForm { Spaced, Compact };

/// An index name: a letter, the layer or registration number, a suffix ("F" 12 "_UK1").
struct IndexNamePattern {
    const char* letter;
    NameId id;
    const char* suffix;
};

/// The column condition of an index score query: fixed text, optionally a row column and more fixed text.
struct ColumnCondition {
    const char* head;
    RowColumn column = RowColumn::None;
    const char* tail = "";
};

/// One expected index: where it is probed, what it must look like, and the score of a right one.
struct ExpectedIndex {
    IndexStep step;
    IndexNamePattern name;
    SideTable table;
    int requiredColumns;  ///< how many (column, position, ascending) triples the condition matches
    ColumnCondition cond;
    int uniquenessWeight;  ///< 0: the query has no uniqueness term
    QueryForm form;
    std::int32_t expectedScore;
    bool onlyWithRowIdColumn = false;  ///< skipped when the registration has no row-id column
};

/// One existence probe: select list, optional row column, FROM, the qualified side table, the rest.
struct ExistenceProbe {
    ExistenceStep step;
    const char* selectList;
    RowColumn column;
    const char* from;
    SideTable table;
    const char* tail;
};

/// Every expected index, in probe order.
std::span<const ExpectedIndex> ExpectedIndexes();
/// Whether `step` probes `index` for `layer`: an index on the row-id column only when there is one.
bool IsProbed(const ExpectedIndex& index, IndexStep step, const LayerValues& layer);
/// The existence probe of a step.
const ExistenceProbe& ExistenceProbeFor(ExistenceStep step);

/// The name of a table as index probes give it (TABLE_NAME): "F12", or the layer's own table name.
std::string SideTableName(SideTable table, const LayerValues& layer);
/// The name of a side table as existence probes select from it: owner "." letter number.
std::string QualifiedSideTableName(SideTable table, const LayerValues& layer);
std::string IndexName(const ExpectedIndex& index, const LayerValues& layer);

/// The statement that yields one number, the index score, for `index` of `layer`.
std::string IndexScoreQuery(const ExpectedIndex& index, const LayerValues& layer);
/// The statement that selects no row from a side table, failing when the table or a column is missing.
std::string ExistenceQuery(const ExistenceProbe& probe, const LayerValues& layer);

/// How an index probe came out.
enum class IndexVerdict { Right, LookupError, Missing, Incorrect };

/// Runs the score query of `index` with errors suppressed and judges the score. On LookupError the
/// connection's error list still holds the errors; it is never cleared here.
IndexVerdict ProbeIndex(const ExpectedIndex& index, const LayerValues& layer, Connection& conn);

/// Runs the existence statement with errors suppressed; false when the connection reported errors,
/// which are left in its error list.
bool ProbeTableExists(const ExistenceProbe& probe, const LayerValues& layer, Connection& conn);

}  // namespace tabvet
