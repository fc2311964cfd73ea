// The algorithm the cross-table checks and the configuration-keyword checks share: list the entries of one
// system table that have no partner in another.
#pragma once

#include <memory>
#include <span>

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

/// Where a listed row holds one value of its finding's identity. A database column is read only where the
/// server type selects one; elsewhere the statement has a literal NULL there.
struct IdentityColumn {
    IdentityField field;
    int position;
};

/// The constant row of one membership check: statement pieces, texts, the three variations, and what each
/// listed row is as a finding.
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
    FindingKind listedKind;
    std::span<const IdentityColumn> identity;  ///< besides the outer and inner table
};

/// A test of this family. Rows are listed only when the fresh cursor reports end-of-file without
/// begin-of-file; every other state passes. Only the open is trapped: moving the cursor or converting a
/// NULL while listing raises out of Run. Every listed row is a finding, and so is every row the listing's
/// limit leaves out: the statement has already read them all.
std::unique_ptr<IAdoTest> MakeCheck(const TestDefinition& definition, const MembershipCheckRow& row,
                                    const TestEnvironment& environment);

}  // namespace tabvet
