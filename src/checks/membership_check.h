// The algorithm the cross-table checks and the configuration-keyword checks share: list the entries of one
// system table that have no partner in another.
#pragma once

#include <memory>

#include "framework/ado_test_base.h"

namespace tabvet {

/// Where the listing loop counts and how it marks the limit.
enum class MembershipLoop {
    CountBeforeEntry,  ///< count, append, stop at the limit with "(Report limit (5) reached. ...)"
    CountAfterMove  ///< append, move, count; at the limit ">>>> (Report limit reached. ...)" and skip to end
};

/// How a listed row becomes an entry.
enum class MembershipEntry {
    QualifiedName,   ///< UserTable of columns 0, 1, 2, all converted to text (a NULL raises)
    RegisteredName,  ///< UserTable of columns 0, 1 and column 2 only where the server uses database names
    Srid,            ///< srid, id text, id " : " owner "." table; NULLs add nothing
    Keyword          ///< keyword, id text, id " : " UserTable of columns 2, 3, 4 (NULLs there raise)
};

/// The constant row of one membership check: statement pieces, texts and the three variations.
struct MembershipCheckRow {
    const char* outerTable;
    const char* outerAlias;  ///< " a " except where the roles are reversed
    const char* innerTable;
    const char* innerAlias;
    const char* selectListWithoutDatabase;
    const char* selectListWithDatabase;
    const char* joinWithoutDatabase;
    const char* joinWithDatabase;
    const char* headerText;
    const char* passText;
    MembershipEntry entry;
    const char* entryPrefix;
    const char* idText;  ///< srid and keyword entries only
    MembershipLoop loop;
    OpenStyle open;
};

/// A test of this family. Rows are listed only when the fresh cursor reports end-of-file without
/// begin-of-file; every other state passes. Only the open is trapped: moving the cursor or converting a
/// NULL while listing raises out of Run.
std::unique_ptr<IAdoTest> MakeCheck(const TestDefinition& definition, const MembershipCheckRow& row,
                                    const TestEnvironment& environment);

}  // namespace tabvet
