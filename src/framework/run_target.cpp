// The boxes take any text; only its leading number counts, as the classic conversion reads it.
#include "run_target.h"

#include "db/value.h"

namespace tabvet {

std::int16_t VersionBoxNumber(const std::string& text) {
    return RoundToInt16(LeadingNumber(text));
}

}  // namespace tabvet
