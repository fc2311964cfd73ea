// The "Select Server Type" step by hand: the DBMS options and the version boxes.
#pragma once

#include "main_state.h"

namespace tabvet {

/// A click on one of the four DBMS options: selects it and sets the namer up for that server type with
/// the system database name taken from the logon dialog.
void OptionClick(MainState& state, DbmsOption option);

/// Unselects all four options.
void UnselectDbmsOptions(MainState& state);

/// The key filter of the three version boxes: backspace (8) and the digits pass, every other key is
/// discarded.
bool VersionKeyPasses(int keyCode);

}  // namespace tabvet
