#include "dragdrop/DragImages.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <QPalette>

// The resources of a static library are registered by name, outside any namespace.
static void InitDragDropResources() {
    Q_INIT_RESOURCE(dragdrop);
}

namespace vz::dragdrop {

namespace {

// The grey-text colour of the palette.
QColor GreyText(const QPalette& palette) {
    return palette.color(QPalette::Disabled, QPalette::WindowText);
}

}  // namespace

QPixmap DrawDragImage(int style, const QIcon& icon, const QString& label, const QFont& font,
                      const QPalette& palette) {
    if (style != kLargeImageWithFrame && style != kLargeImageWithText) {
        style = kLikeWindowsXp;
    }
    const int iconSize = style == kLikeWindowsXp ? kSmallIconSize : kLargeIconSize;
    const QPixmap picture = icon.isNull() ? QPixmap() : icon.pixmap(iconSize, iconSize);
    if (picture.isNull()) {
        return {};
    }
    const QFontMetrics metrics(font);
    const int textWidth = metrics.horizontalAdvance(label);

    QPixmap image;
    switch (style) {
        case kLargeImageWithFrame: {
            image = QPixmap(iconSize + 10, iconSize + 10);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            const QRect frame = image.rect();
            // A raised frame: the face colour above and left, the dark shadow below and right.
            painter.setPen(palette.color(QPalette::Button));
            painter.drawLine(frame.topLeft(), frame.topRight());
            painter.drawLine(frame.topLeft(), frame.bottomLeft());
            painter.setPen(palette.color(QPalette::Shadow));
            painter.drawLine(frame.bottomLeft(), frame.bottomRight());
            painter.drawLine(frame.topRight(), frame.bottomRight());
            painter.drawPixmap(QRect(5, 5, iconSize, iconSize), picture);
            break;
        }
        case kLargeImageWithText: {
            const int height = qMax(iconSize, metrics.height());
            image = QPixmap(iconSize + 5 + textWidth, height);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            painter.drawPixmap(QRect(0, 0, iconSize, iconSize), picture);
            painter.setFont(font);
            painter.setPen(GreyText(palette));
            painter.drawText(QRect(iconSize + 5, 0, textWidth, height),
                             Qt::AlignLeft | Qt::AlignVCenter, label);
            break;
        }
        default: {
            const int height = qMax(iconSize, metrics.height());
            image = QPixmap(iconSize + 4 + textWidth, height);
            image.fill(palette.color(QPalette::Window));
            QPainter painter(&image);
            painter.drawPixmap(QRect(0, (height - iconSize) / 2, iconSize, iconSize), picture);
            painter.setFont(font);
            painter.setPen(GreyText(palette));
            painter.drawText(QRect(iconSize + 4, 0, textWidth, height),
                             Qt::AlignLeft | Qt::AlignVCenter, label);
            break;
        }
    }
    return image;
}

QPixmap NoDropCursor() {
    static const bool registered = (InitDragDropResources(), true);
    Q_UNUSED(registered)
    return QPixmap(QStringLiteral(":/dragdrop/nodrop.png"));
}

}  // namespace vz::dragdrop
