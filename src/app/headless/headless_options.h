// The command line of the headless mode.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "framework/dbms_options.h"

namespace tabvet {

/// Where the connection string comes from.
enum class ConnectSource {
    Argument,       ///< --connect STRING
    StandardInput,  ///< --connect -
    File,           ///< --connect-file FILE
    Environment,    ///< TABVET_CONNECT, when neither option is given
};

struct HeadlessOptions {
    std::string connect;  ///< the string itself once known (from the argument at once, else when read)
    ConnectSource connectSource = ConnectSource::Argument;
    std::string connectFile;         ///< with ConnectSource::File
    std::optional<DbmsOption> dbms;  ///< absent: read from the database
    /// Major, minor and bugfix as they go into the three version boxes; absent: read from the database.
    std::optional<std::vector<std::string>> tesselVersion;
    std::optional<std::string> database;
    std::optional<std::string> report;         ///< text report file, replaced without asking
    bool onlyFailures = false;                 ///< the "only failures" check box
    std::optional<std::string> json;           ///< machine-readable results file
    std::optional<std::string> baseline;       ///< earlier results whose findings are accepted
    std::optional<unsigned> loginTimeout;      ///< seconds, 0 no limit; absent: the default
    std::optional<unsigned> statementTimeout;  ///< seconds, 0 no limit; absent: the default
    unsigned timeLimit = 0;                    ///< seconds for the whole run, 0 no limit
    std::optional<unsigned> jobs;              ///< connections the run may use; absent: the default
    std::optional<std::string> check;          ///< --check LIST: only these tests
    std::optional<std::string> skip;           ///< --skip LIST: not these tests
    bool help = false;
    bool version = false;
    bool listChecks = false;
};

struct ParsedArguments {
    std::optional<HeadlessOptions> options;  ///< empty when the arguments are wrong
    std::string error;                       ///< one line saying what is wrong
};

/// Parses the arguments that follow the program name. "--name value" and "--name=value" both work; an
/// option given twice, an unknown option or a missing value is an error. A separate value cannot start
/// with "--" (that is the next option); "--name=--value" can. Without --connect or --connect-file the string
/// comes from the environment, which `connectInEnvironment` says holds one.
ParsedArguments ParseHeadlessArguments(const std::vector<std::string>& args,
                                       bool connectInEnvironment = false);

/// The usage text printed by --help and after a bad argument.
std::string HeadlessUsage();

/// An argument said back in a message: in single quotes, or, when it holds a password (a connection string
/// given where something else belongs), words that say so in its place.
std::string SaidBack(const std::string& value);

}  // namespace tabvet
