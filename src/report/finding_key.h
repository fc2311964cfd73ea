// The stable key of a finding, the one thing a baseline compares: the kind and the catalogue's values,
// never error texts, times or where the finding stood in a listing.
#pragma once

#include <string>

#include "framework/findings.h"
#include "json_text.h"

namespace tabvet {

/// The identity as one JSON object in field order: {"owner":"GIS","table":"ROADS"} (compact) or
/// {"owner": "GIS", "table": "ROADS"}. A NULL of the catalogue is null.
std::string IdentityObject(const FindingIdentity& identity, bool compact, StrayByte stray);

/// The canonical JSON text of the array [kind, identity], without any blank:
/// ["missing-table-or-view",{"systemTable":"LAYERS","owner":"GIS","table":"WELLS","column":"SHAPE"}].
/// Strings are escaped one way only, so two findings share a key exactly when kind and every value are
/// equal: quotes, separators, control characters and non-ASCII text cannot make two names read alike, and
/// a byte that is not valid UTF-8 is written as \udcXX so that it keeps its own spelling too.
std::string FindingKey(const Finding& finding);

}  // namespace tabvet
