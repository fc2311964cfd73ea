// Whether a file that holds a secret is kept private: the one question about a file's permissions that
// tabvet asks, answered in each system's own terms.
#pragma once

#include <string>

namespace tabvet {

/// True when users other than the owner may read the file at `path`: its group or world read bits. Always
/// false on Windows, whose access lists are not inspected.
bool ReadableByOthers(const std::string& path);

}  // namespace tabvet
