// The mode bits say it all: group or other may read.
#include <sys/stat.h>

#include "file_access.h"

namespace tabvet {

bool ReadableByOthers(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && (info.st_mode & (S_IRGRP | S_IROTH)) != 0;
}

}  // namespace tabvet
