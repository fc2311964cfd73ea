// Values are checked here so that a bad argument is a clear one-line error, never a failure mid-run.
#include "headless_options.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "db/value.h"

namespace tabvet {
namespace {

// MAJOR.MINOR.BUGFIX, each a 16-bit number of digits only (what the version boxes accept).
std::optional<std::vector<std::string>> ParseVersion(const std::string& text) {
    std::vector<std::string> parts(1);
    for (char c : text) {
        if (c == '.') {
            parts.emplace_back();
        } else if (std::isdigit(static_cast<unsigned char>(c))) {
            parts.back().push_back(c);
        } else {
            return std::nullopt;
        }
    }
    if (parts.size() != 3) {
        return std::nullopt;
    }
    for (const std::string& part : parts) {
        if (part.empty() || part.size() > 5 || std::stol(part) > 32767) {
            return std::nullopt;
        }
    }
    return parts;
}

}  // namespace

std::string HeadlessUsage() {
    return "usage: tabvet --connect STRING [--dbms oracle|sqlserver|db2|informix]\n"
           "              [--tessel-version MAJOR.MINOR.BUGFIX] [--database NAME]\n"
           "              [--report FILE] [--only-failures] [--json FILE]\n"
           "       tabvet --help\n"
           "       tabvet --version\n"
           "Without arguments tabvet opens its main window.\n"
           "Without --dbms or --tessel-version the server type is read from the database first, as\n"
           "\"Query DBMS\" does; the options given take precedence over what was read.\n"
           "--report writes the text report (CR LF lines), --only-failures leaves passed tests out of it,\n"
           "--json writes every catalogue entry with its verdict and duration; both replace existing files\n"
           "and are written after every run that started, even one ended by an unexpected error.\n"
           "Exit status: 0 every test that ran passed, 1 a test failed, 2 the run could not start\n"
           "(including a report or JSON file that cannot be written, checked before connecting),\n"
           "3 a test ended the run with an unexpected error. A file that fails while being written\n"
           "after the run is reported on standard error and leaves the run's status unchanged.\n";
}

ParsedArguments ParseHeadlessArguments(const std::vector<std::string>& args) {
    HeadlessOptions options;
    std::set<std::string> seen;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string name = args[i];
        std::optional<std::string> value;
        if (const auto equals = name.find('='); name.rfind("--", 0) == 0 && equals != std::string::npos) {
            value = name.substr(equals + 1);
            name = name.substr(0, equals);
        }
        if (!seen.insert(name).second) {
            return {std::nullopt, "option " + name + " given more than once"};
        }
        if (name == "--help" || name == "--version" || name == "--only-failures") {
            if (value) {
                return {std::nullopt, "option " + name + " takes no value"};
            }
            bool& flag = name == "--help"      ? options.help
                         : name == "--version" ? options.version
                                               : options.onlyFailures;
            flag = true;
            continue;
        }
        if (name != "--connect" && name != "--dbms" && name != "--tessel-version" && name != "--database" &&
            name != "--report" && name != "--json") {
            return {std::nullopt, "unknown argument '" + name + "'"};
        }
        if (!value) {
            // "--connect --dbms oracle" forgot the string: taking "--dbms" as it would only shift the
            // complaint to "oracle". A value that starts with "--" can still be given as --name=value.
            if (i + 1 >= args.size() || args[i + 1].rfind("--", 0) == 0) {
                return {std::nullopt, "option " + name + " needs a value"};
            }
            value = args[++i];
        }
        if (name == "--connect") {
            options.connect = *value;
        } else if (name == "--dbms") {
            options.dbms = DbmsOptionNamed(*value);
            if (!options.dbms) {
                return {std::nullopt,
                        "--dbms must be one of oracle, sqlserver, db2, informix (got '" + *value + "')"};
            }
        } else if (name == "--tessel-version") {
            options.tesselVersion = ParseVersion(*value);
            if (!options.tesselVersion) {
                return {std::nullopt,
                        "--tessel-version must be MAJOR.MINOR.BUGFIX with numbers up to 32767 (got '" +
                            *value + "')"};
            }
        } else if (name == "--report" || name == "--json") {
            if (value->empty()) {
                return {std::nullopt, "option " + name + " needs a file name"};
            }
            (name == "--report" ? options.report : options.json) = *value;
        } else {
            options.database = *value;
        }
    }
    if (options.help || options.version) {
        return {options, {}};
    }
    if (!seen.count("--connect")) {
        return {std::nullopt, "--connect is required"};
    }
    if (options.connect.empty()) {
        return {std::nullopt, "--connect needs a non-empty connection string"};
    }
    if (options.report && options.json && *options.report == *options.json) {
        return {std::nullopt, "--report and --json must name different files"};
    }
    return {options, {}};
}

}  // namespace tabvet
