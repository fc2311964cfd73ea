// The three checks that every configuration keyword named by LAYERS, RASTER_COLUMNS or TABLE_REGISTRY is
// defined in DBTUNE, as one table for the membership algorithm.
#pragma once

#include "membership_check.h"

namespace tabvet {

/// The family's table: one row per check.
struct KeywordChecks {
    MembershipCheckRow tblRegInDbtune;
    MembershipCheckRow lyrInDbtune;
    MembershipCheckRow rasColInDbtune;
};
extern const KeywordChecks kKeywordChecks;

}  // namespace tabvet
