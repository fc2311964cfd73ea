// What a run is aimed at, as the person gave it: the DBMS option, the Tessel version as typed into its three
// boxes, and the database that holds the system tables.
#pragma once

#include <cstdint>
#include <string>

#include "dbms_options.h"

namespace tabvet {

/// The target of a run. The report and the results file show it; the run reads the option and the version.
struct RunTarget {
    DbmsOption dbms = DbmsOption::None;
    std::string majorVersion;  ///< as typed, converted only where a number is needed
    std::string minorVersion;
    std::string bugfix;
    std::string database;  ///< upper-cased; empty when none was given

    /// The three version texts joined by ".", as typed ("9.1.0", or ".." for empty boxes).
    std::string VersionText() const { return majorVersion + "." + minorVersion + "." + bugfix; }
};

/// A version box's number: its leading number, rounded half to even to 16 bits ("Overflow" beyond).
std::int16_t VersionBoxNumber(const std::string& text);

}  // namespace tabvet
