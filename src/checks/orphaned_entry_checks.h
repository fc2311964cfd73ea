// The four checks that every object a system table registers (LAYERS, TABLE_REGISTRY, RASTER_COLUMNS,
// GEOMETRY_COLUMNS) can really be selected from the database.
#pragma once

#include <memory>

#include "framework/iado_test.h"
#include "framework/test_definition.h"
#include "framework/test_environment.h"

namespace tabvet {

/// Which column of a row is probed and how.
enum class ProbedColumn {
    Always,    ///< position 0 as it stands; a NULL raises
    WhenGiven  ///< position 0 trimmed, NULL read as empty; empty means the table alone is probed
};

/// The constant part of an orphaned-entry check.
struct OrphanedEntryCheckRow {
    const char* systemTable;
    const char* selectListWithoutDatabase;  ///< both lists are followed directly by "FROM "
    const char* selectListWithDatabase;
    bool skipsUnnamedTable;  ///< a row whose qualified name comes back empty is passed over before probing
    ProbedColumn probedColumn;
    const char* selectFailedText;
    const char* emptyTableText;
    const char* passText;
};

/// The family's table: one row per check.
struct OrphanedEntryChecks {
    OrphanedEntryCheckRow orphTblReg;
    OrphanedEntryCheckRow orphLyr;
    OrphanedEntryCheckRow orphRasCol;
    OrphanedEntryCheckRow orphGeomCol;
};
extern const OrphanedEntryChecks kOrphanedEntryChecks;

/// A test of this family: walk the system table, probe each registered table or column, list what the
/// database cannot find. A NULL table name, owner or database name (or column name, except in
/// TABLE_REGISTRY) is not trapped: its RuntimeError leaves Run.
std::unique_ptr<IAdoTest> MakeCheck(const TestDefinition& definition, const OrphanedEntryCheckRow& row,
                                    const TestEnvironment& environment);

}  // namespace tabvet
