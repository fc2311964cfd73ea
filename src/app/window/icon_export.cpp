// Build tool: writes the window's icon as the PNG files of an icon theme, so that the desktop's menus show
// the same icon as the window without a second drawing of it. Usage: tabvet_icon_export THEME_FOLDER NAME
#include <QDir>
#include <QString>
#include <cstdio>

#include "window_icon.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: tabvet_icon_export THEME_FOLDER NAME\n", stderr);
        return 2;
    }
    const QString theme = QString::fromLocal8Bit(argv[1]);
    const QString name = QString::fromLocal8Bit(argv[2]);
    for (const int size : tabvet::kApplicationIconSizes) {
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(theme).arg(size);
        const QString file = folder + "/" + name + ".png";
        if (!QDir().mkpath(folder) || !tabvet::ApplicationIconImage(size).save(file, "PNG")) {
            std::fprintf(stderr, "tabvet_icon_export: cannot write %s\n", qPrintable(file));
            return 1;
        }
    }
    return 0;
}
