// The application's icon, drawn rather than shipped as a file so that every platform build has it.
#pragma once

#include <QIcon>

namespace tabvet {

/// A table with a check mark over it, at the sizes title bars and task bars ask for.
QIcon ApplicationIcon();

}  // namespace tabvet
