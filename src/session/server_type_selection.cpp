// The option buttons and the namer are kept in step: every selection sets the namer up again.
#include "server_type_selection.h"

namespace tabvet {

void OptionClick(MainState& state, DbmsOption option) {
    state.selectedDbms = option;
    state.g_QDON->Setup(DbmsTypeCodeOf(option), state.g_sTslSystemTableDatabase);
    state.View().ControlsChanged();
}

void UnselectDbmsOptions(MainState& state) {
    state.selectedDbms = DbmsOption::None;
}

bool VersionKeyPasses(int keyCode) {
    constexpr int kBackspace = 8;
    return keyCode == kBackspace || (keyCode >= '0' && keyCode <= '9');
}

}  // namespace tabvet
