// The string is never echoed: only where it came from is named in a message.
#include "connect_source.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "db/connection_string.h"

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
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || S_ISDIR(info.st_mode)) {
        const int why = S_ISDIR(info.st_mode) ? EISDIR : errno;
        err << "tabvet: cannot read the connection file " << SaidBack(path) << ": " << std::strerror(why)
            << std::endl;
        return std::nullopt;
    }
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        err << "tabvet: cannot read the connection file " << SaidBack(path) << ": "
            << (errno != 0 ? std::strerror(errno) : "cannot be opened") << std::endl;
        return std::nullopt;
    }
    if ((info.st_mode & (S_IRGRP | S_IROTH)) != 0) {
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
