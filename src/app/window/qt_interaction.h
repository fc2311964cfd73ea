// Message boxes of the window: the user-interaction interface shown with QMessageBox.
#pragma once

#include <QWidget>

#include <QString>
#include <string>

#include "db/user_interaction.h"

namespace tabvet {

/// A text of the model as a widget shows it: its CR LF line breaks as Qt's own.
QString Displayed(const std::string& text);

/// Shows each request as a modal QMessageBox over `parent`; an empty title is the application's title.
class QtInteraction final : public IUserInteraction {
  public:
    explicit QtInteraction(QWidget* parent = nullptr) : parent_(parent) {}
    void SetParent(QWidget* parent) { parent_ = parent; }
    MsgAnswer ShowMessage(const std::string& text, const std::string& title, MsgButtons buttons,
                          MsgIcon icon) override;

  private:
    QWidget* parent_;
};

}  // namespace tabvet
