// The objects live on this stack frame in the order the window needs them: interaction, model, window.
#include "window_main.h"

#include <QApplication>

#include "frm_nav.h"
#include "qt_interaction.h"
#include "window_texts.h"

namespace tabvet {

int RunWindow(int& argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(window_text::kTitle);
    QtInteraction ui;
    MainState state(ui);
    WindowServices services;
    services.endProgram = [] { QCoreApplication::exit(0); };
    frmNav window(state, std::move(services));
    ui.SetParent(&window);
    if (!window.Load()) {
        return 1;
    }
    window.show();
    return QApplication::exec();
}

}  // namespace tabvet
