// The four DBMS options and everything that names one or depends on one, as one table.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "iado_test.h"

namespace tabvet {

/// The four DBMS option buttons of the window; at most one is selected. The order of the values is the
/// order of the buttons.
enum class DbmsOption { None, Oracle, Informix, DB2, SqlServer };

/// One DBMS option: the namer's type code for it, the words and captions that name it, what in a VERSION
/// row's description identifies it, and which applicability flag of a test it asks.
struct DbmsOptionRow {
    DbmsOption option;
    std::int32_t typeCode;        ///< the namer's code (dbtype)
    const char* word;             ///< the value of --dbms and of "target.dbms" in the results file
    const char* caption;          ///< the window's option button
    const char* reportLine;       ///< the report's target line, after its indent
    const char* descriptionMark;  ///< found in an upper-cased VERSION description, it names this DBMS
    bool (IAdoTest::*worksWith)() const;
};

/// The four options, in the order of the window's buttons, which is also the order in which detection looks
/// for their description marks ("ORA" first, so an Oracle SQL engine is Oracle).
std::span<const DbmsOptionRow> DbmsOptions();

/// The row of `option`; null for None.
const DbmsOptionRow* FindDbmsOption(DbmsOption option);

/// The option a word names (any letter case), as --dbms takes it; nothing for another word.
std::optional<DbmsOption> DbmsOptionNamed(std::string_view word);

/// The namer's type code for an option; 1 (not set up) for None.
std::int32_t DbmsTypeCodeOf(DbmsOption option);

/// Whether `test` works with the DBMS of `option`; true when no option is selected.
bool WorksWithDbms(const IAdoTest& test, DbmsOption option);

}  // namespace tabvet
