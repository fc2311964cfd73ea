// The application's icon, drawn rather than shipped as a file so that every platform build has it.
#pragma once

#include <QIcon>
#include <QImage>
#include <array>

namespace tabvet {

/// The sizes drawn, which title bars, task bars and the desktop's menus ask for.
inline constexpr std::array<int, 7> kApplicationIconSizes = {16, 24, 32, 48, 64, 128, 256};

/// The icon at one size, drawn on its own.
QImage ApplicationIconImage(int size);

/// A table with a check mark over it, at each of those sizes.
QIcon ApplicationIcon();

}  // namespace tabvet
