// The six checks that entries of one system table have partners in another, and the listing algorithm
// they share with the configuration-keyword checks.
#pragma once

#include <string>

#include "framework/ado_test_base.h"

namespace tabvet {

class Recordset;

/// How a membership check notices a failing statement.
enum class MembershipOpen {
    kTrapped,          ///< an error raised by the open, or a non-empty error list after it
    kErrorsSuppressed  ///< only a non-empty error list after an open that never raises
};

/// Where the listing loop counts and how it marks the limit.
enum class MembershipLoop {
    kCountBeforeEntry,  ///< count, append, stop at the limit with "(Report limit (5) reached. ...)"
    kCountAfterMove  ///< append, move, count; at the limit ">>>> (Report limit reached. ...)" and skip to end
};

/// How a listed row becomes an entry.
enum class MembershipEntry {
    kQualifiedName,   ///< UserTable of columns 0, 1, 2, all converted to text (a NULL raises)
    kRegisteredName,  ///< UserTable of columns 0, 1 and column 2 only where the server uses database names
    kSrid,            ///< srid, id text, id " : " owner "." table; NULLs add nothing
    kKeyword          ///< keyword, id text, id " : " UserTable of columns 2, 3, 4 (NULLs there raise)
};

/// The constant row of one membership check: identity, statement pieces, texts and the three variations.
struct MembershipCheckRow {
    TestDefinition definition;
    const char* outerTable;
    const char* outerAlias;  // " a " except where the roles are reversed
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
    const char* idText;  // srid and keyword entries only
    MembershipLoop loop;
    MembershipOpen open;
};

/// One algorithm for the cross-table and the keyword checks. Rows are listed only when the fresh cursor
/// reports end-of-file without begin-of-file; every other state passes.
class MembershipCheck : public AdoTestBase {
  public:
    MembershipCheck(const MembershipCheckRow& row, const TestEnvironment& environment);
    /// Only the open is trapped: moving the cursor or converting a NULL while listing raises out of Run.
    void Run(Connection* conn) override;

  private:
    void List(Recordset& rs);
    std::string Entry(const Recordset& rs) const;

    const MembershipCheckRow& row_;
};

class clsTst_LyrInGeomCol final : public MembershipCheck {
  public:
    explicit clsTst_LyrInGeomCol(const TestEnvironment& environment);
};

class clsTst_GeomColInLyr final : public MembershipCheck {
  public:
    explicit clsTst_GeomColInLyr(const TestEnvironment& environment);
};

class clsTst_LyrInSpatRef final : public MembershipCheck {
  public:
    explicit clsTst_LyrInSpatRef(const TestEnvironment& environment);
};

class clsTst_RasColInSpatRef final : public MembershipCheck {
  public:
    explicit clsTst_RasColInSpatRef(const TestEnvironment& environment);
};

class clsTst_LyrInTblReg final : public MembershipCheck {
  public:
    explicit clsTst_LyrInTblReg(const TestEnvironment& environment);
};

class clsTst_RasColInTblReg final : public MembershipCheck {
  public:
    explicit clsTst_RasColInTblReg(const TestEnvironment& environment);
};

}  // namespace tabvet
