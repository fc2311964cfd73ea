// The report step's file dialog, shown with QFileDialog.
#pragma once

#include <QWidget>

#include "session/file_dialog.h"

namespace tabvet {

/// One dialog for saving and opening reports, filtered to text files. Overwriting is asked about by the
/// report step itself, so the dialog does not ask.
class QtFileDialog final : public IFileDialog {
  public:
    explicit QtFileDialog(QWidget* parent) : parent_(parent) {}
    std::optional<std::string> ShowSave(const std::string& title, const std::string& fileName) override;
    std::optional<std::string> ShowOpen(const std::string& title, const std::string& fileName) override;

  private:
    QWidget* parent_;
};

}  // namespace tabvet
