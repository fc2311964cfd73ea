// The statements tabvet sends, read back from its statement trace (TABVET_STATEMENT_TRACE) step by step.
// Needs the benchmark's trace reader (tabvet_bench_trace), which undoes the trace's escapes.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "trace_reader.h"

namespace tabvet::testsupport {

class SentStatements {
  public:
    /// Chooses the trace file: create it before the process sends its first statement, which reads the
    /// choice once.
    SentStatements() : path_(folder_.File("trace.txt")) {
        ::setenv("TABVET_STATEMENT_TRACE", path_.c_str(), 1);
    }

    /// Every statement sent since the last call, as it was sent.
    std::vector<std::string> SinceLastCall() {
        std::vector<std::string> statements;
        if (!std::filesystem::exists(path_)) {
            return statements;
        }
        const std::string trace = ReadBytes(path_);
        std::istringstream lines(trace.substr(read_));
        read_ = trace.size();
        for (std::string line; std::getline(lines, line);) {
            statements.push_back(bench::UnescapeTraceLine(line));
        }
        return statements;
    }

  private:
    TempFolder folder_;
    std::string path_;
    std::size_t read_ = 0;
};

}  // namespace tabvet::testsupport
