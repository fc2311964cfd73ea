// Binary mode keeps CR LF as written on every system; errno is read right after the failing call so the
// message can say why.
#include "report_file.h"

#include <cerrno>
#include <cstring>

#include "db/file_path.h"

namespace tabvet {
namespace {

std::string Reason(int errorNumber) {
    return errorNumber != 0 ? std::string(std::strerror(errorNumber)) : std::string("input/output error");
}

}  // namespace

ReportFile ReportFile::Open(const std::string& path) {
    ReportFile file;
    errno = 0;
    file.stream_.open(FilePath(path), std::ios::out | std::ios::binary | std::ios::trunc);
    if (!file.stream_.is_open()) {
        throw ReportFileError("cannot open '" + path + "' for writing: " + Reason(errno));
    }
    file.path_ = path;
    return file;
}

void ReportFile::Write(const std::string& text) {
    errno = 0;
    stream_ << text;
    if (!stream_) {
        Fail("cannot write to", errno);
    }
}

void ReportFile::Close() {
    if (!stream_.is_open()) {
        return;
    }
    errno = 0;
    stream_.flush();
    const bool flushed = static_cast<bool>(stream_);
    const int flushError = errno;
    stream_.close();
    if (!flushed || !stream_) {
        Fail("cannot write to", flushed ? errno : flushError);
    }
}

void ReportFile::Fail(const std::string& what, int errorNumber) {
    const std::string message = what + " '" + path_ + "': " + Reason(errorNumber);
    if (stream_.is_open()) {
        stream_.close();
    }
    throw ReportFileError(message);
}

}  // namespace tabvet
