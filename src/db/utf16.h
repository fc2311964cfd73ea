// UTF-8 <-> SQLWCHAR text: we talk to drivers through the wide ODBC calls so that names and messages arrive
// intact whatever the process locale.
#pragma once

#include "db/odbc_api.h"

#include <string>
#include <string_view>

namespace tabvet {

using OdbcWideString = std::basic_string<SQLWCHAR>;

OdbcWideString ToOdbcWide(std::string_view utf8);
std::string FromOdbcWide(const SQLWCHAR* text, std::size_t length);

/// Appends code point `cp` to `out` in UTF-8.
void AppendUtf8(std::string& out, char32_t cp);

}  // namespace tabvet
