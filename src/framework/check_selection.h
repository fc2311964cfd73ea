// Which tests of the catalogue the user chose for a run: positions, names or categories, to keep or leave
// out.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "ado_test_collection.h"

namespace tabvet {

/// The positions a run leaves out although they apply; empty: every test that applies runs.
struct CheckSelection {
    std::set<std::int16_t> leftOut;
    bool LeavesOut(std::int16_t position) const { return leftOut.count(position) != 0; }
};

/// What choosing gave: the selection, or the first entry that names no test.
struct ChosenChecks {
    std::optional<CheckSelection> selection;
    std::string unknownEntry;
};

/// Entries of each list are comma-separated positions, names or categories, any letter case, blanks around
/// an entry ignored. Without `keep` every test is kept; then the tests `skip` names are left out.
ChosenChecks ChooseChecks(const clsAdoTestCollection& catalogue, const std::optional<std::string>& keep,
                          const std::optional<std::string>& skip);

/// The Tessel releases a test accepts, as a person reads them: "3.x, 8.x, 9.x", "8.x from 8.2, 9.0".
std::string AcceptedVersionsText(const IAdoTest& test);

}  // namespace tabvet
