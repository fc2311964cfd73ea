// The four checks that every object a system table registers (LAYERS, TABLE_REGISTRY, RASTER_COLUMNS,
// GEOMETRY_COLUMNS) can really be selected from the database.
#pragma once

#include "framework/ado_test_base.h"

namespace tabvet {

struct OrphanedEntryCheckRow;

/// One algorithm for the four orphaned-entry checks: walk the system table, probe each registered table or
/// column, list what the database cannot find. The class is chosen by its constant row.
class OrphanedEntryCheck : public AdoTestBase {
  public:
    OrphanedEntryCheck(const OrphanedEntryCheckRow& row, const TestEnvironment& environment);
    /// A NULL table name, owner or database name (or column name, except in TABLE_REGISTRY) is not trapped:
    /// its RuntimeError leaves Run.
    void Run(Connection* conn) override;

  private:
    const OrphanedEntryCheckRow& row_;
};

class clsTst_OrphLyr final : public OrphanedEntryCheck {
  public:
    explicit clsTst_OrphLyr(const TestEnvironment& environment);
};

class clsTst_OrphTblReg final : public OrphanedEntryCheck {
  public:
    explicit clsTst_OrphTblReg(const TestEnvironment& environment);
};

class clsTst_OrphRasCol final : public OrphanedEntryCheck {
  public:
    explicit clsTst_OrphRasCol(const TestEnvironment& environment);
};

class clsTst_OrphGeomCol final : public OrphanedEntryCheck {
  public:
    explicit clsTst_OrphGeomCol(const TestEnvironment& environment);
};

}  // namespace tabvet
