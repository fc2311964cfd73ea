// Translation of the data-access layer's own connection-string keywords into ODBC keywords.
#pragma once

#include <string>
#include <string_view>

namespace tabvet {

/// Prepares a connection string for SQLDriverConnect: the pair "Provider=...;" is dropped (any letter
/// case, anywhere), "User Id" becomes UID, "Password" becomes PWD and "Data Source" becomes DSN. Every
/// other piece passes through untouched and in order; values in braces are kept whole; a last pair
/// without a closing semicolon is still a pair.
std::string TranslateConnectionString(std::string_view connectionString);

/// True when the string gives a password: a PWD or Password pair (any letter case) with a value that is not
/// empty.
bool HasPassword(std::string_view connectionString);

}  // namespace tabvet
