// Closing the program: the window never closes by itself; only a confirmed shutdown ends it.
#pragma once

#include <functional>

#include "main_state.h"

namespace tabvet {

/// Releases the process-wide objects in their fixed order (catalogue, connection without a further close,
/// namer, error formatter).
void ReleaseProcessObjects(MainState& state);

/// Asks "Really exit?"; on OK disconnects (which may ask again) and, when no connection remains, releases
/// everything and calls `endProgram`. Returns false in every case: a close request never proceeds by itself.
bool ProcessShutdownRequest(MainState& state, const std::function<void()>& endProgram);

}  // namespace tabvet
