// Line breaks in our texts are CR LF; Qt wants LF only.
#include "qt_interaction.h"

#include <QApplication>
#include <QMessageBox>

#include "session/about_box.h"

namespace tabvet {

QString Displayed(const std::string& text) {
    return QString::fromStdString(text).replace("\r\n", "\n");
}

MsgAnswer QtInteraction::ShowMessage(const std::string& text, const std::string& title, MsgButtons buttons,
                                     MsgIcon icon) {
    QMessageBox box(parent_);
    box.setWindowTitle(title.empty() ? QString(kApplicationTitle) : Displayed(title));
    box.setText(Displayed(text));
    switch (icon) {
        case MsgIcon::None:
            box.setIcon(QMessageBox::NoIcon);
            break;
        case MsgIcon::Information:
            box.setIcon(QMessageBox::Information);
            break;
        case MsgIcon::Exclamation:
            box.setIcon(QMessageBox::Warning);
            break;
        case MsgIcon::Critical:
            box.setIcon(QMessageBox::Critical);
            break;
        case MsgIcon::Question:
            box.setIcon(QMessageBox::Question);
            break;
    }
    switch (buttons) {
        case MsgButtons::Ok:
            box.setStandardButtons(QMessageBox::Ok);
            break;
        case MsgButtons::OkCancel:
            box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
            break;
        case MsgButtons::YesNo:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
            break;
    }
    // The run changes the pointer to an hourglass; a question must still be answerable with the arrow.
    const bool busy = QApplication::overrideCursor() != nullptr;
    if (busy) {
        QApplication::setOverrideCursor(Qt::ArrowCursor);
    }
    const int pressed = box.exec();
    if (busy) {
        QApplication::restoreOverrideCursor();
    }
    switch (pressed) {
        case QMessageBox::Ok:
            return MsgAnswer::Ok;
        case QMessageBox::Yes:
            return MsgAnswer::Yes;
        case QMessageBox::No:
            return MsgAnswer::No;
        default:
            return buttons == MsgButtons::YesNo ? MsgAnswer::No : MsgAnswer::Cancel;
    }
}

}  // namespace tabvet
