// The objects live on this stack frame in the order the window needs them: interaction, model, window.
#include "window_main.h"

#include <QApplication>
#include <QSettings>

#include "db/odbc_connection.h"
#include "frm_nav.h"
#include "qt_interaction.h"
#include "window_icon.h"

namespace tabvet {

int RunWindow(int& argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(kApplicationTitle);
    // The installed desktop entry (tabvet.desktop): how a Wayland desktop gives the window its icon and name.
    QGuiApplication::setDesktopFileName("tabvet");
    QApplication::setWindowIcon(ApplicationIcon());
    QSettings settings("tabvet", "tabvet");  // the platform's usual store: a file, or the registry
    QtInteraction ui;
    MainState state(ui, NewOdbcConnection);
    WindowServices services;
    services.endProgram = [] { QCoreApplication::exit(0); };
    services.settings = &settings;
    frmNav window(state, std::move(services));
    ui.SetParent(&window);
    if (!window.Load()) {
        return 1;
    }
    window.show();
    return QApplication::exec();
}

}  // namespace tabvet
