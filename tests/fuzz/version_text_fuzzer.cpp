// Fuzzes the conversion of a version box's text: for any text, either a 16-bit number that is the leading
// number rounded half to even, or the "Overflow" error; nothing else, and never a crash.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "db/runtime_error.h"
#include "db/value.h"
#include "framework/run_target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const double leading = tabvet::LeadingNumber(text);
    if (std::isnan(leading)) {
        std::fprintf(stderr, "leading number of [%s] is not a number\n", text.c_str());
        std::abort();
    }
    const double rounded = std::nearbyint(leading);
    const bool fits = std::isfinite(rounded) && rounded >= -32768.0 && rounded <= 32767.0;
    try {
        const std::int16_t number = tabvet::VersionBoxNumber(text);
        if (!fits || number != static_cast<std::int16_t>(rounded)) {
            std::fprintf(stderr, "[%s] gave %d for %.17g\n", text.c_str(), number, leading);
            std::abort();
        }
    } catch (const tabvet::RuntimeError& e) {
        if (fits || e.Number() != tabvet::errnum::kOverflow || e.Description() != "Overflow") {
            std::fprintf(stderr, "[%s] raised %s for %.17g\n", text.c_str(),
                         tabvet::DescribeRuntimeError(e).c_str(), leading);
            std::abort();
        }
    }
    return 0;
}
