// Reads a statement trace (TABVET_STATEMENT_TRACE) back into the statements it records, one at a time.
#pragma once

#include <fstream>
#include <string>
#include <string_view>

namespace tabvet::bench {

/// The statement that one trace line stands for: "\\", "\r" and "\n" undone. Any other backslash is kept
/// as it stands, so a trace written by hand still reads back.
std::string UnescapeTraceLine(std::string_view line);

/// Streams the statements of a trace file in order, so that a long trace costs no memory.
class TraceReader {
  public:
    /// Opens `path`; Good() tells whether it could be opened.
    explicit TraceReader(const std::string& path) : in_(path, std::ios::binary) {}
    bool Good() const { return in_.is_open(); }
    /// Reads the next statement into `statement`; false at the end of the file.
    bool Next(std::string& statement);

  private:
    std::ifstream in_;
};

}  // namespace tabvet::bench
