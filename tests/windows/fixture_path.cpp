// Where the Windows test programs find the test fixtures: the source tree, through Wine's drive Z:, which
// maps the Unix root.
#include <filesystem>
#include <string>

#include "support/pg_cluster.h"

namespace tabvet::testsupport {

std::string FixturePath(const std::string& relative) {
    return (std::filesystem::path(TABVET_FIXTURE_DIR) / relative).string();
}

}  // namespace tabvet::testsupport
