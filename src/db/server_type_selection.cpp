// The option buttons and the namer are kept in step: every selection sets the namer up again.
#include "server_type_selection.h"

namespace tabvet {

void OptionClick(MainState& state, DbmsOption option) {
    state.selectedDbms = option;
    state.g_QDON->Setup(DbmsTypeCodeOf(option), state.g_sTslSystemTableDatabase);
    state.View().ControlsChanged();
}

}  // namespace tabvet
