// The output file a report is written into: the window's "file number", as an owned, closable file.
#pragma once

#include <fstream>
#include <stdexcept>
#include <string>

#include "db/line_break.h"

namespace tabvet {

/// A report file could not be opened, written or closed; the text names the file and the reason.
class ReportFileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A text file opened for sequential output (created or truncated), closed when it goes out of scope.
/// A default-constructed ReportFile holds no file: it stands for "no file number".
class ReportFile {
  public:
    ReportFile() = default;
    /// Opens `path` for output, creating or truncating it; throws ReportFileError saying why it cannot.
    static ReportFile Open(const std::string& path);

    ReportFile(ReportFile&&) noexcept = default;
    ReportFile& operator=(ReportFile&&) noexcept = default;
    /// Closes without reporting anything: call Close to learn whether everything reached the file.
    ~ReportFile() = default;

    bool IsOpen() const { return stream_.is_open(); }
    explicit operator bool() const { return IsOpen(); }
    const std::string& Path() const { return path_; }

    /// Writes `text` byte for byte. Throws ReportFileError when the file does not take it.
    void Write(const std::string& text);
    /// Writes `text` and CR LF, as Write.
    void PrintLine(const std::string& text) { Write(text + kCrLf); }
    /// Flushes and closes; throws ReportFileError when data could not be written. Does nothing when no
    /// file is held.
    void Close();

  private:
    [[noreturn]] void Fail(const std::string& what, int errorNumber);

    std::ofstream stream_;
    std::string path_;
};

}  // namespace tabvet
