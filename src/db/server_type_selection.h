// The "Select Server Type" step: the DBMS options and the version boxes.
#pragma once

#include "framework/main_state.h"

namespace tabvet {

/// A click on one of the four DBMS options: selects it and sets the namer up for that server type with
/// the system database name taken from the logon dialog.
void OptionClick(MainState& state, DbmsOption option);

}  // namespace tabvet
