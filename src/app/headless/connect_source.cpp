// The string is never echoed: only where it came from is named in a message.
#include "connect_source.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "db/connection_string.h"
#include "db/file_path.h"
#include "file_access.h"

namespace tabvet {
namespace {

std::string WithoutFinalLineBreak(std::string text) {
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
        if (!text.empty() && text.back() == '\r') {
            text.pop_back();
        }
    }
    return text;
}

// The file's content; nothing, with the reason on `err`, when it cannot be read.
std::optional<std::string> ReadConnectionFile(const std::string& path, std::ostream& err) {
    std::error_code ec;
    const std::filesystem::file_status status = std::filesystem::status(FilePath(path), ec);
    if (ec || std::filesystem::is_directory(status)) {
        const std::string why = ec ? ec.message() : std::strerror(EISDIR);
        err << "tabvet: cannot read the connection file " << SaidBack(path) << ": " << why << std::endl;
        return std::nullopt;
    }
    errno = 0;
    std::ifstream in(FilePath(path), std::ios::binary);
    if (!in) {
        err << "tabvet: cannot read the connection file " << SaidBack(path) << ": "
            << (errno != 0 ? std::strerror(errno) : "cannot be opened") << std::endl;
        return std::nullopt;
    }
    if (ReadableByOthers(path)) {
        err << "tabvet: warning: the connection file " << SaidBack(path)
            << " can be read by other users; make it private (chmod 600)" << std::endl;
    }
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

bool ResolveConnectionString(HeadlessOptions& options, std::istream& in,
                             const std::optional<std::string>& environmentValue, std::ostream& err) {
    std::string from;
    switch (options.connectSource) {
        case ConnectSource::Argument:
            if (HasPassword(options.connect)) {
                err << "tabvet: warning: a password on the command line can be read by every local user; "
                       "use --connect-file FILE, --connect - (standard input) or "
                    << kConnectEnvironmentVariable << " instead" << std::endl;
            }
            return true;
        case ConnectSource::StandardInput:
            options.connect =
                std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
            from = "standard input";
            break;
        case ConnectSource::File: {
            const std::optional<std::string> content = ReadConnectionFile(options.connectFile, err);
            if (!content) {
                return false;
            }
            options.connect = *content;
            from = "the connection file " + SaidBack(options.connectFile);
            break;
        }
        case ConnectSource::Environment:
            options.connect = environmentValue.value_or("");
            from = kConnectEnvironmentVariable;
            break;
    }
    options.connect = WithoutFinalLineBreak(options.connect);
    if (options.connect.empty()) {
        err << "tabvet: the connection string from " << from << " is empty" << std::endl;
        return false;
    }
    return true;
}

}  // namespace tabvet
