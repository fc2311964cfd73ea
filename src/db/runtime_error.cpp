// Wording of an escaped run-time error, for the places that must tell the user about it.
#include "runtime_error.h"

namespace tabvet {

std::string DescribeRuntimeError(const RuntimeError& e) {
    return "Run-time error '" + std::to_string(e.Number()) + "': " + e.Description();
}

}  // namespace tabvet
