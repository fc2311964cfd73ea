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
    /// The count of rows the running check has walked changed; empty when none is to be shown.
    virtual void RowCountChanged() {}
    /// Captions, enabling, options or box texts changed.
    virtual void ControlsChanged() {}
    /// Show or stop showing the hourglass pointer.
    virtual void SetBusyPointer(bool /*busy*/) {}
    /// Let pending window events run (used while counting tests for a report).
    virtual void ProcessPendingEvents() {}
};

/// Shows the hourglass for as long as it lives, so that an error cannot leave it showing.
class BusyPointer {
  public:
    explicit BusyPointer(MainView& view) : view_(view) { view_.SetBusyPointer(true); }
    ~BusyPointer() { view_.SetBusyPointer(false); }
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;

  private:
    MainView& view_;
};

}  // namespace tabvet
