// Findings: one record per problem a check finds, made where the check detects it, so that a pipeline can
// compare problems from one run to the next without reading the result texts.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "db/error_list.h"
#include "db/value.h"

namespace tabvet {

/// What kind of problem a finding is. The words users see are in findings.cpp.
enum class FindingKind {
    MissingSystemTable,          ///< a statement on a system table found no such table
    MissingSystemColumn,         ///< a statement on a system table found no such column
    MissingTableOrView,          ///< a registered table or view, or a side table of a layer, is not there
    MissingColumn,               ///< a registered column, or a column a side table needs, is not there
    OrphanedEntry,               ///< an entry of one system table has no partner in another
    UnknownSpatialReference,     ///< an SRID that SPATIAL_REFERENCES does not define
    UnknownKeyword,              ///< a configuration keyword that DBTUNE does not define
    MissingIndex,                ///< an index a compressed-binary layer needs is not there
    IncorrectlyConfiguredIndex,  ///< such an index is there with other columns, order or uniqueness
    LookupError,                 ///< a statement failed for another reason (rights, syntax, the server)
    RefusedStatement,            ///< a name read from the catalogue made tabvet refuse to send the statement
};

/// The catalogue's values that say which object a finding is about, in this order in every finding.
enum class IdentityField {
    SystemTable,   ///< the system table whose entry or statement it is
    PartnerTable,  ///< the second system table of a statement that reads two
    Database,
    Owner,
    Table,
    Column,
    LayerId,
    RegistrationId,
    RasterColumnId,
    Srid,
    Keyword,
    Index,
};

/// The word of a kind in the results ("missing-table-or-view").
std::string_view FindingKindWord(FindingKind kind);
/// The name of an identity field in the results ("rasterColumnId").
std::string_view IdentityFieldName(IdentityField field);

/// One value per field that applies, in field order. A NULL of the catalogue stays NULL (an empty
/// optional), distinct from the empty text and from a field that does not apply (absent).
class FindingIdentity {
  public:
    /// Sets `field`, keeping field order; a field set twice keeps the last value.
    FindingIdentity& Set(IdentityField field, FieldValue value);
    const std::vector<std::pair<IdentityField, FieldValue>>& Values() const { return values_; }

  private:
    std::vector<std::pair<IdentityField, FieldValue>> values_;
};

/// One problem found by a check.
struct Finding {
    FindingKind kind = FindingKind::LookupError;
    FindingIdentity identity = {};
    std::vector<AdoError> driverErrors = {};  ///< the connection's error list when the problem showed as one
};

/// What one run of a check found, in the order it found it.
struct TestFindings {
    std::vector<Finding> findings;
    bool truncated = false;  ///< a report limit stopped the check before it had looked at everything
    bool examined = false;   ///< its statement on the system tables worked, so it looked at their entries
};

/// What a failed statement says about its object, told by the SQLSTATE of the first entry of `errors`.
enum class FailedObject {
    SystemTable,  ///< a statement on system tables: a missing system table or column
    UserObject,   ///< a probe of a registered or side table: a missing table, view or column
    Dictionary,   ///< a question to the data dictionary: any failure is a lookup error
};
FindingKind KindOfFailure(const ErrorList& errors, FailedObject object);

/// The copy of an error list that a finding keeps.
std::vector<AdoError> ErrorsOf(const ErrorList& errors);

/// A test that records findings as it runs. The run reads them after Run, as it reads Pass.
class FindingSource {
  public:
    virtual ~FindingSource() = default;
    virtual const TestFindings& Findings() const = 0;
};

}  // namespace tabvet
