// The ODBC headers, in the one order that compiles everywhere: Windows' own sql.h needs the system's types
// declared before it.
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif

#include <sql.h>
#include <sqlext.h>
