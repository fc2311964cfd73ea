// The window's remembered settings in the platform's usual store (QSettings): the session decides what may
// be stored, this only reads and writes it.
#pragma once

class QSettings;
class QWidget;

namespace tabvet {

class MainState;

/// After start-up: the stored connection string and report folder into the model, the window's size and
/// position onto `window`.
void RestoreWindowSettings(QSettings& store, MainState& state, QWidget& window);

/// Stores what the session allows to be stored now; never a password.
void StoreSessionSettings(QSettings& store, const MainState& state);

/// Stores the window's size and position.
void StoreWindowGeometry(QSettings& store, const QWidget& window);

}  // namespace tabvet
