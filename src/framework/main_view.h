// How the display-free model tells whatever shows it (the window, the headless printer) that it changed.
#pragma once

namespace tabvet {

/// Notifications from the model to its view. Every member has a do-nothing default.
class MainView {
  public:
    virtual ~MainView() = default;
    /// The status log changed: show it at once, because a run blocks the event loop.
    virtual void StatusLogChanged() {}
    /// The progress panel of the status bar changed.
    virtual void StatusBarChanged() {}
    /// Captions, enabling, options or box texts changed.
    virtual void ControlsChanged() {}
    /// Show or stop showing the hourglass pointer.
    virtual void SetBusyPointer(bool /*busy*/) {}
    /// Let pending window events run (used while counting tests for a report).
    virtual void ProcessPendingEvents() {}
};

}  // namespace tabvet
