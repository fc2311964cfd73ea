// The connection-string box as the window shows it: passwords masked while the model keeps the real string,
// edits of the masked text mapped back onto it, and the server and database named while connected.
#pragma once

#include <cstddef>
#include <string>

#include "main_state.h"

namespace tabvet {

/// The text the box shows: the model's string with every password character masked.
std::string ShownConnectionString(const MainState& state);

/// An edit in the box. `shown` is the box's text after the edit and `cursor` the position, in characters,
/// just after the edited place. Characters typed or pasted are taken as written; the ones the edit left
/// alone keep their real values, masked or not. Then the connection-string change step follows.
void ShownConnectionStringEdited(MainState& state, const std::string& shown, std::size_t cursor);

/// The server (or data source) and database the connection was opened on, as the status bar names them;
/// empty while disconnected. Never shows a password.
std::string ConnectedTargetText(const MainState& state);

}  // namespace tabvet
