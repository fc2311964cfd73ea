// Start-up of the main window's model, in its fixed order, shared by the window and the headless mode.
#pragma once

#include "main_state.h"

namespace tabvet {

/// Creates the catalogue into g_pTestCollection, with the hourglass shown meanwhile.
void LoadTestClasses(MainState& state);

/// Empties the log, clears the run flag, sets the default report path and the system database name, then
/// creates the catalogue, the namer and the error formatter. False when one of them could not be created;
/// its message has been shown and the program must end.
bool StartUp(MainState& state);

}  // namespace tabvet
