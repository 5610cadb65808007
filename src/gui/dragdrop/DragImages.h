#pragma once
// The pictures of drag and drop: the three drag images that DraggingImageForModeClearType
// chooses, and the program's own no-drop cursor.

#include <QIcon>
#include <QPixmap>
#include <QString>

class QFont;
class QPalette;

namespace vz::dragdrop {

// The styles of DraggingImageForModeClearType.
enum DragImageStyle {
    kLikeWindowsXp = 0,        // small icon and label, grey text on the window colour
    kLargeImageWithFrame = 1,  // the large icon in a raised frame
    kLargeImageWithText = 2,   // the large icon followed by the label in grey text
};

// The icon sizes the images use.
constexpr int kSmallIconSize = 16;
constexpr int kLargeIconSize = 32;

// Draws the drag image of an item with `icon` and `label` in `style` (any value other than 1
// and 2 draws style 0). A null pixmap when it cannot be drawn (no icon picture).
QPixmap DrawDragImage(int style, const QIcon& icon, const QString& label, const QFont& font,
                      const QPalette& palette);

// The cursor shown while a drag is over a place where it cannot be dropped.
QPixmap NoDropCursor();

}  // namespace vz::dragdrop
