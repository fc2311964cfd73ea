// The SQLSTATE tells a missing object from any other failure: drivers of every DBMS report a missing table or
// column with the standard states (or the server's own, passed through), while their message texts differ.
#include "findings.h"

#include <algorithm>
#include <array>

#include "db/statement_guard.h"

namespace tabvet {
namespace {

constexpr std::array<std::string_view, 11> kKindWords = {
    "missing-system-table", "missing-system-column", "missing-table-or-view",
    "missing-column",       "orphaned-entry",        "unknown-spatial-reference",
    "unknown-keyword",      "missing-index",         "incorrectly-configured-index",
    "lookup-error",         "refused-statement",
};
static_assert(kKindWords.size() == static_cast<std::size_t>(FindingKind::RefusedStatement) + 1);

constexpr std::array<std::string_view, 12> kFieldNames = {
    "systemTable", "partnerTable",   "database",       "owner", "table",   "column",
    "layerId",     "registrationId", "rasterColumnId", "srid",  "keyword", "index",
};
static_assert(kFieldNames.size() == static_cast<std::size_t>(IdentityField::Index) + 1);

enum class Missing { Table, Column };

// The ODBC 3 and ODBC 2 states, and PostgreSQL's own, which its driver passes through.
struct NotFoundState {
    std::string_view sqlState;
    Missing what;
};
constexpr NotFoundState kNotFoundStates[] = {
    {"42S02", Missing::Table},  {"S0002", Missing::Table},  {"42P01", Missing::Table},
    {"42S22", Missing::Column}, {"S0022", Missing::Column}, {"42703", Missing::Column},
};

}  // namespace

std::string_view FindingKindWord(FindingKind kind) {
    return kKindWords.at(static_cast<std::size_t>(kind));
}

std::string_view IdentityFieldName(IdentityField field) {
    return kFieldNames.at(static_cast<std::size_t>(field));
}

FindingIdentity& FindingIdentity::Set(IdentityField field, FieldValue value) {
    const auto at =
        std::find_if(values_.begin(), values_.end(), [field](const auto& v) { return v.first >= field; });
    if (at != values_.end() && at->first == field) {
        at->second = std::move(value);
    } else {
        values_.insert(at, {field, std::move(value)});
    }
    return *this;
}

FindingKind KindOfFailure(const ErrorList& errors, FailedObject object) {
    if (errors.Count() == 0) {
        return FindingKind::LookupError;
    }
    const AdoError& first = errors.Item(0);
    if (first.Number == kStatementRefusedNumber && first.sqlState.empty()) {
        return FindingKind::RefusedStatement;
    }
    if (object == FailedObject::Dictionary) {
        return FindingKind::LookupError;
    }
    for (const NotFoundState& state : kNotFoundStates) {
        if (first.sqlState == state.sqlState) {
            if (object == FailedObject::SystemTable) {
                return state.what == Missing::Table ? FindingKind::MissingSystemTable
                                                    : FindingKind::MissingSystemColumn;
            }
            return state.what == Missing::Table ? FindingKind::MissingTableOrView
                                                : FindingKind::MissingColumn;
        }
    }
    return FindingKind::LookupError;
}

std::vector<AdoError> ErrorsOf(const ErrorList& errors) {
    std::vector<AdoError> copy;
    for (std::int32_t i = 0; i < errors.Count(); ++i) {
        copy.push_back(errors.Item(i));
    }
    return copy;
}

}  // namespace tabvet
