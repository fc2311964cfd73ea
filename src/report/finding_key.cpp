// One writer serves the key and the results' identity field, so the two always name the same values.
#include "finding_key.h"

namespace tabvet {

std::string IdentityObject(const FindingIdentity& identity, bool compact, StrayByte stray) {
    const char* colon = compact ? ":" : ": ";
    const char* comma = compact ? "," : ", ";
    std::string json = "{";
    for (const auto& [field, value] : identity.Values()) {
        json += (json.size() > 1 ? comma : "") + JsonString(IdentityFieldName(field), stray) + colon +
                (value ? JsonString(*value, stray) : "null");
    }
    return json + "}";
}

std::string FindingKey(const Finding& finding) {
    return "[" + JsonString(FindingKindWord(finding.kind), StrayByte::Escaped) + "," +
           IdentityObject(finding.identity, true, StrayByte::Escaped) + "]";
}

}  // namespace tabvet
