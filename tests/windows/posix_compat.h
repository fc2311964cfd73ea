// The few POSIX calls that the shared test helpers make, for their Windows build only (forced in by
// tests/windows/CMakeLists.txt), so that the helpers stay as they are.
#pragma once

#include <direct.h>
#include <io.h>
#include <stdlib.h>
#include <string.h>

inline int setenv(const char* name, const char* value, int /*overwrite*/) {
    return _putenv_s(name, value);
}

inline int unsetenv(const char* name) {
    return _putenv_s(name, "");
}

// Fills in the trailing XXXXXX of `pattern` and creates that folder.
inline char* mkdtemp(char* pattern) {
    if (_mktemp_s(pattern, strlen(pattern) + 1) != 0 || _mkdir(pattern) != 0) {
        return nullptr;
    }
    return pattern;
}
