// "Query DBMS": the server type and the Tessel version read from the VERSION table.
#pragma once

#include <cstdint>

#include "main_state.h"

namespace tabvet {

/// Finds the DBMS type and the version by reading VERSION under each naming style in turn (DB2, Informix,
/// Oracle, SQL Server); the row's description names the DBMS. Fills the option and the version boxes, or
/// says why it could not.
void QueryDbmsType(MainState& state);

/// Reads VERSION as named for `typeCode`. True when a row with its three version numbers was read; the
/// boxes are then filled and the option chosen from the description.
bool ReadServerTypeFromVersionTable(MainState& state, std::int32_t typeCode);

}  // namespace tabvet
