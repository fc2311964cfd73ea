// The order of release matters to nobody but is kept fixed, so that shutdown behaves the same every time.
#include "shutdown.h"

#include "connection_handling.h"

namespace tabvet {

void ReleaseProcessObjects(MainState& state) {
    state.g_pTestCollection.reset();
    state.runStop.Watch(nullptr);
    state.g_pAdoConn.reset();
    state.g_QDON.reset();
    state.g_cConnErrStr.reset();
}

bool ProcessShutdownRequest(MainState& state, const std::function<void()>& endProgram) {
    const MsgAnswer answer =
        state.Ui().ShowMessage("Really exit?", "Exiting...", MsgButtons::OkCancel, MsgIcon::None);
    if (answer == MsgAnswer::Ok && DisconnectFromDbms(state)) {
        ReleaseProcessObjects(state);
        endProgram();
    }
    return false;
}

}  // namespace tabvet
