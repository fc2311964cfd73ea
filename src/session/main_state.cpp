// Defaults of the model: a view that shows nothing and the real clock.
#include "main_state.h"

#include "framework/local_time.h"

namespace tabvet {
namespace {

MainView& SilentView() {
    static MainView view;
    return view;
}

}  // namespace

MainState::MainState(IUserInteraction& ui, ConnectionFactory newConnection)
    : now(GeneralDateTimeText), newConnection(std::move(newConnection)), ui_(ui), view_(&SilentView()) {}

MainState::~MainState() = default;

void MainState::DetachView(const MainView& view) {
    if (view_ == &view) {
        view_ = &SilentView();
    }
}

RunTarget TargetOf(const MainState& state) {
    return {.dbms = state.selectedDbms,
            .majorVersion = state.txtMajorVersion,
            .minorVersion = state.txtMinorVersion,
            .bugfix = state.txtBugfix,
            .database = state.g_sTslSystemTableDatabase};
}

}  // namespace tabvet
