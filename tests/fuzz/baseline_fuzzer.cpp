// Fuzzes the reading of a baseline file, which comes from outside: any bytes give a baseline or a one-line
// reason, never a crash or an exception; and a string the reader accepts, written again, reads back the same.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "report/baseline.h"
#include "report/json_reader.h"
#include "report/json_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const tabvet::BaselineRead read = tabvet::ReadBaseline(text);
    if (!read.baseline && (read.error.empty() || read.error.find('\n') != std::string_view::npos)) {
        std::fprintf(stderr, "refused without a one-line reason: [%s]\n", read.error.c_str());
        std::abort();
    }
    const tabvet::JsonParse parsed = tabvet::ReadJson(text);
    if (parsed.value && parsed.value->type == tabvet::JsonValue::Type::String) {
        const tabvet::JsonParse again = tabvet::ReadJson(tabvet::JsonString(parsed.value->text));
        if (!again.value || again.value->text != parsed.value->text) {
            std::fprintf(stderr, "a string read, written and read again changed\n");
            std::abort();
        }
    }
    return 0;
}
