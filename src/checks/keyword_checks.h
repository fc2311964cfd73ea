// The three checks that every configuration keyword named by LAYERS, RASTER_COLUMNS or TABLE_REGISTRY is
// defined in DBTUNE.
#pragma once

#include "cross_table_checks.h"

namespace tabvet {

class clsTst_LyrInDbtune final : public MembershipCheck {
  public:
    explicit clsTst_LyrInDbtune(const TestEnvironment& environment);
};

class clsTst_RasColInDbtune final : public MembershipCheck {
  public:
    explicit clsTst_RasColInDbtune(const TestEnvironment& environment);
};

class clsTst_TblRegInDbtune final : public MembershipCheck {
  public:
    explicit clsTst_TblRegInDbtune(const TestEnvironment& environment);
};

}  // namespace tabvet
