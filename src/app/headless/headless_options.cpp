// Values are checked here so that a bad argument is a clear one-line error, never a failure mid-run.
#include "headless_options.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "db/connection_string.h"
#include "db/value.h"
#include "session/main_state.h"

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

// Seconds (or another count) as digits only: at most nine, so that any value fits every driver's attribute.
std::optional<unsigned> ParseSeconds(const std::string& text) {
    if (text.empty() || text.size() > 9 ||
        !std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c); })) {
        return std::nullopt;
    }
    return static_cast<unsigned>(std::stoul(text));
}

// Options that take a value, and those that take none.
const std::set<std::string> kValueOptions = {
    "--connect",    "--connect-file", "--dbms",  "--tessel-version", "--database",      "--report",
    "--json",       "--baseline",     "--check", "--skip",           "--login-timeout", "--statement-timeout",
    "--time-limit", "--jobs"};
const std::set<std::string> kFlagOptions = {"--help", "--version", "--only-failures", "--list-checks"};

}  // namespace

std::string SaidBack(const std::string& value) {
    return HasPassword(value) ? "(a connection string with a password, not shown here)" : "'" + value + "'";
}

std::string HeadlessUsage() {
    return "usage: tabvet --connect STRING|- [--dbms oracle|sqlserver|db2|informix]\n"
           "              [--tessel-version MAJOR.MINOR.BUGFIX] [--database NAME]\n"
           "              [--report FILE] [--only-failures] [--json FILE] [--baseline FILE]\n"
           "              [--check LIST] [--skip LIST] [--login-timeout SECONDS]\n"
           "              [--statement-timeout SECONDS] [--time-limit SECONDS] [--jobs N]\n"
           "       tabvet --connect-file FILE [the options above]\n"
           "       tabvet --list-checks\n"
           "       tabvet --help\n"
           "       tabvet --version\n"
           "Without arguments tabvet opens its main window.\n"
           "The connection string is the value of --connect, standard input with --connect -, the content\n"
           "of --connect-file FILE without a final line break, or else the environment variable\n"
           "TABVET_CONNECT. A password on the command line can be read by every local user: use one of\n"
           "the others for it.\n"
           "Without --dbms or --tessel-version the server type is read from the database first, as\n"
           "\"Query DBMS\" does; the options given take precedence over what was read.\n"
           "--check runs only the tests named, --skip leaves them out: comma-separated positions, names or\n"
           "categories, any letter case (--list-checks lists them).\n"
           "Connecting may take 15 seconds and each statement 30 unless --login-timeout or\n"
           "--statement-timeout say otherwise (0 = no limit); a statement that times out fails like any\n"
           "other. When --time-limit passes, or at SIGINT or SIGTERM, the running statement is cancelled\n"
           "and the run stops after that test; a second signal ends tabvet at once.\n"
           "--jobs N: the connections a run may use (1 to " +
           std::to_string(kMaxJobs) + ", default " + std::to_string(kDefaultJobs) +
           "): the checks that probe every\n"
           "entry or layer send their probes over N - 1 more connections opened like the first, and\n"
           "still take the results in their own order, so everything written is what one connection\n"
           "gives (--jobs 1).\n"
           "--report writes the text report (CR LF lines), --only-failures leaves passed tests out of it,\n"
           "--json writes every catalogue entry with its verdict, duration and findings (one record per\n"
           "problem, with a stable key); both replace existing files and are written after every run that\n"
           "started, even one ended by an unexpected error or stopped.\n"
           "--baseline FILE takes the JSON results of an earlier run (or only their findings, each with an\n"
           "optional reason) as accepted problems: each finding is then new or known, accepted ones no\n"
           "longer found are resolved, the JSON says which, and standard error ends with a line like\n"
           "\"3 new, 12 known, 2 resolved\". A baseline that is missing, not JSON or of another schema\n"
           "version stops tabvet before it connects.\n"
           "Exit status: 0 every test that ran passed, 1 a test failed, 2 the run could not start\n"
           "(including a report or JSON file that cannot be written or a baseline that cannot be used,\n"
           "checked before connecting), 3 a test ended the run with an unexpected error, 4 the run was\n"
           "stopped by --time-limit or a signal (report and JSON hold every test that completed). With\n"
           "--baseline, 1 means a new finding or a failed test without any finding; known findings alone\n"
           "give 0. A file that fails while being written after the run is reported on standard error and\n"
           "leaves the run's status unchanged.\n";
}

ParsedArguments ParseHeadlessArguments(const std::vector<std::string>& args, bool connectInEnvironment) {
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
        if (kFlagOptions.count(name) != 0) {
            if (value) {
                return {std::nullopt, "option " + name + " takes no value"};
            }
            bool& flag = name == "--help"          ? options.help
                         : name == "--version"     ? options.version
                         : name == "--list-checks" ? options.listChecks
                                                   : options.onlyFailures;
            flag = true;
            continue;
        }
        if (kValueOptions.count(name) == 0) {
            return {std::nullopt, "unknown argument " + SaidBack(name)};
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
            options.connectSource = *value == "-" ? ConnectSource::StandardInput : ConnectSource::Argument;
        } else if (name == "--connect-file") {
            if (value->empty()) {
                return {std::nullopt, "option --connect-file needs a file name"};
            }
            options.connectFile = *value;
            options.connectSource = ConnectSource::File;
        } else if (name == "--dbms") {
            options.dbms = DbmsOptionNamed(*value);
            if (!options.dbms) {
                return {std::nullopt, "--dbms must be one of oracle, sqlserver, db2, informix (got " +
                                          SaidBack(*value) + ")"};
            }
        } else if (name == "--tessel-version") {
            options.tesselVersion = ParseVersion(*value);
            if (!options.tesselVersion) {
                return {std::nullopt,
                        "--tessel-version must be MAJOR.MINOR.BUGFIX with numbers up to 32767 (got " +
                            SaidBack(*value) + ")"};
            }
        } else if (name == "--report" || name == "--json" || name == "--baseline") {
            if (value->empty()) {
                return {std::nullopt, "option " + name + " needs a file name"};
            }
            (name == "--report" ? options.report
             : name == "--json" ? options.json
                                : options.baseline) = *value;
        } else if (name == "--check" || name == "--skip") {
            (name == "--check" ? options.check : options.skip) = *value;
        } else if (name == "--jobs") {
            const std::optional<unsigned> jobs = ParseSeconds(*value);
            if (!jobs || *jobs < 1 || *jobs > kMaxJobs) {
                return {std::nullopt, "--jobs must be a whole number from 1 to " + std::to_string(kMaxJobs) +
                                          " (got " + SaidBack(*value) + ")"};
            }
            options.jobs = jobs;
        } else if (name == "--login-timeout" || name == "--statement-timeout" || name == "--time-limit") {
            const std::optional<unsigned> seconds = ParseSeconds(*value);
            if (!seconds) {
                return {std::nullopt, name + " must be a whole number of seconds, 0 for no limit (got " +
                                          SaidBack(*value) + ")"};
            }
            if (name == "--time-limit") {
                options.timeLimit = *seconds;
            } else {
                (name == "--login-timeout" ? options.loginTimeout : options.statementTimeout) = seconds;
            }
        } else {
            options.database = *value;
        }
    }
    if (options.help || options.version || options.listChecks) {
        return {options, {}};
    }
    if (seen.count("--connect") && seen.count("--connect-file")) {
        return {std::nullopt, "give the connection string with one of --connect and --connect-file"};
    }
    if (!seen.count("--connect") && !seen.count("--connect-file")) {
        if (!connectInEnvironment) {
            return {std::nullopt, "--connect is required"};
        }
        options.connectSource = ConnectSource::Environment;
    }
    if (options.connectSource == ConnectSource::Argument && options.connect.empty()) {
        return {std::nullopt, "--connect needs a non-empty connection string"};
    }
    if (options.report && options.json && *options.report == *options.json) {
        return {std::nullopt, "--report and --json must name different files"};
    }
    return {options, {}};
}

}  // namespace tabvet
