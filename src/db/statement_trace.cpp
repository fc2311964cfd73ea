// Statements never contain line breaks of our own making, but names read from tables may: those are
// escaped so that one statement stays one line.
#include "statement_trace.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace tabvet {
namespace {

struct FileCloser {
    void operator()(std::FILE* f) const {
        if (f != nullptr) {
            std::fclose(f);
        }
    }
};

std::FILE* TraceFile() {
    static const std::unique_ptr<std::FILE, FileCloser> file = [] {
        const char* path = std::getenv("TABVET_STATEMENT_TRACE");
        return std::unique_ptr<std::FILE, FileCloser>(path != nullptr && *path != '\0' ? std::fopen(path, "a")
                                                                                       : nullptr);
    }();
    return file.get();
}

}  // namespace

void StatementTrace::Record(std::string_view sql) {
    std::FILE* file = TraceFile();
    if (file == nullptr) {
        return;
    }
    std::string line;
    line.reserve(sql.size() + 1);
    for (char c : sql) {
        if (c == '\\') {
            line += "\\\\";
        } else if (c == '\n') {
            line += "\\n";
        } else if (c == '\r') {
            line += "\\r";
        } else {
            line.push_back(c);
        }
    }
    line.push_back('\n');
    std::fwrite(line.data(), 1, line.size(), file);
    std::fflush(file);
}

}  // namespace tabvet
