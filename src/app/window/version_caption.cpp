// The text property stays the designed one; only the painting places its pieces.
#include "version_caption.h"

#include <QPainter>
#include <QStyle>

namespace tabvet {

VersionCaption::VersionCaption(const QString& text, QWidget* parent) : QLabel(text, parent) {}

void VersionCaption::paintEvent(QPaintEvent* event) {
    const QStringList pieces = text().split(' ', Qt::SkipEmptyParts);
    if (pieces.size() != static_cast<qsizetype>(columns_.size())) {
        QLabel::paintEvent(event);  // nothing to line up with: the plain label
        return;
    }
    QPainter painter(this);
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const QWidget* column = columns_[static_cast<std::size_t>(i)];
        const int centre = mapFromGlobal(column->mapToGlobal(column->rect().center())).x();
        const int width = fontMetrics().horizontalAdvance(pieces[i]) + 2;
        style()->drawItemText(&painter, QRect(centre - width / 2, 0, width, height()), Qt::AlignCenter,
                              palette(), isEnabled(), pieces[i], foregroundRole());
    }
}

}  // namespace tabvet
