// The command line of the headless mode.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "framework/dbms_options.h"

namespace tabvet {

struct HeadlessOptions {
    std::string connect;
    std::optional<DbmsOption> dbms;  ///< absent: read from the database
    /// Major, minor and bugfix as they go into the three version boxes; absent: read from the database.
    std::optional<std::vector<std::string>> tesselVersion;
    std::optional<std::string> database;
    std::optional<std::string> report;  ///< text report file, replaced without asking
    bool onlyFailures = false;          ///< the "only failures" check box
    std::optional<std::string> json;    ///< machine-readable results file
    bool help = false;
    bool version = false;
};

struct ParsedArguments {
    std::optional<HeadlessOptions> options;  ///< empty when the arguments are wrong
    std::string error;                       ///< one line saying what is wrong
};

/// Parses the arguments that follow the program name. "--name value" and "--name=value" both work; an
/// option given twice, an unknown option or a missing value is an error. A separate value cannot start
/// with "--" (that is the next option); "--name=--value" can.
ParsedArguments ParseHeadlessArguments(const std::vector<std::string>& args);

/// The usage text printed by --help and after a bad argument.
std::string HeadlessUsage();

}  // namespace tabvet
