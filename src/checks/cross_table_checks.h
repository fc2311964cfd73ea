// The six checks that entries of one system table have partners in another (LAYERS, GEOMETRY_COLUMNS,
// SPATIAL_REFERENCES, TABLE_REGISTRY, RASTER_COLUMNS), as one table for the membership algorithm.
#pragma once

#include "membership_check.h"

namespace tabvet {

/// The family's table: one row per check.
struct CrossTableChecks {
    MembershipCheckRow lyrInTblReg;
    MembershipCheckRow lyrInGeomCol;
    MembershipCheckRow lyrInSpatRef;
    MembershipCheckRow geomColInLyr;
    MembershipCheckRow rasColInTblReg;
    MembershipCheckRow rasColInSpatRef;
};
extern const CrossTableChecks kCrossTableChecks;

}  // namespace tabvet
