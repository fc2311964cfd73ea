// A cancelled dialog gives an empty name in Qt; that is reported as "no choice".
#include "qt_file_dialog.h"

#include <QFileDialog>

namespace tabvet {
namespace {

constexpr const char* kFilter = "Text File (*.txt);;All Files (*)";

std::optional<std::string> Chosen(const QString& path) {
    if (path.isEmpty()) {
        return std::nullopt;
    }
    return path.toStdString();
}

}  // namespace

std::optional<std::string> QtFileDialog::ShowSave(const std::string& title, const std::string& fileName) {
    return Chosen(QFileDialog::getSaveFileName(parent_, QString::fromStdString(title),
                                               QString::fromStdString(fileName), kFilter, nullptr,
                                               QFileDialog::DontConfirmOverwrite));
}

std::optional<std::string> QtFileDialog::ShowOpen(const std::string& title, const std::string& fileName) {
    return Chosen(QFileDialog::getOpenFileName(parent_, QString::fromStdString(title),
                                               QString::fromStdString(fileName), kFilter));
}

}  // namespace tabvet
