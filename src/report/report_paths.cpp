// The environment is read at each call, so a changed TEMP takes effect at the next start-up.
#include "report_paths.h"

#include <cstdlib>

namespace tabvet {

std::string GetDefaultReportFileName() {
#ifdef _WIN32
    const char* temp = std::getenv("TEMP");
    return std::string(temp != nullptr ? temp : "") + "\\Tessel_Diag.txt";
#else
    for (const char* name : {"TEMP", "TMPDIR"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            return std::string(value) + "/Tessel_Diag.txt";
        }
    }
    return "/tmp/Tessel_Diag.txt";
#endif
}

}  // namespace tabvet
