// Statements never contain line breaks of our own making, but names read from tables may: those are
// escaped so that one statement stays one line.
#include "statement_trace.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

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

// Where this thread's statements go instead of the file; null: to the file.
thread_local std::vector<std::string>* DeferredInto = nullptr;

void WriteLine(std::FILE* file, std::string_view sql) {
    // Plain runs go to the stream as they stand, so that a statement costs no copy of its own.
    std::size_t start = 0;
    for (std::size_t i = sql.find_first_of("\\\r\n"); i != std::string_view::npos;
         i = sql.find_first_of("\\\r\n", start)) {
        std::fwrite(sql.data() + start, 1, i - start, file);
        std::fputs(sql[i] == '\\' ? "\\\\" : (sql[i] == '\n' ? "\\n" : "\\r"), file);
        start = i + 1;
    }
    std::fwrite(sql.data() + start, 1, sql.size() - start, file);
    std::fputc('\n', file);
    std::fflush(file);  // a run that ends abruptly still leaves every statement it sent
}

}  // namespace

void StatementTrace::Record(std::string_view sql) {
    std::FILE* file = TraceFile();
    if (file == nullptr) {
        return;
    }
    if (DeferredInto != nullptr) {
        DeferredInto->emplace_back(sql);
        return;
    }
    WriteLine(file, sql);
}

void StatementTrace::Write(const std::vector<std::string>& statements) {
    std::FILE* file = TraceFile();
    if (file == nullptr) {
        return;
    }
    for (const std::string& sql : statements) {
        WriteLine(file, sql);
    }
}

StatementTrace::Deferral::Deferral(std::vector<std::string>& into) : outer_(DeferredInto) {
    DeferredInto = &into;
}

StatementTrace::Deferral::~Deferral() {
    DeferredInto = outer_;
}

}  // namespace tabvet
