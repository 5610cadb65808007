#include "app/VisualStyles.h"

#include <QApplication>
#include <QStyle>
#include <QStyleFactory>

#include "common/CommandIds.h"
#include "settings/CLayoutProfile.h"

namespace vz {

namespace {

struct LookColours {
    QColor window, windowText, base, alternateBase, text, button, buttonText, highlight,
        highlightedText, mid, dark, light, toolTipBase;
};

LookColours ColoursFor(int shown) {
    switch (shown) {
        case cmd::kLookOffice2007Blue:
            return {QColor(0xd5, 0xe4, 0xf7), QColor(0x15, 0x42, 0x8b), Qt::white,
                    QColor(0xee, 0xf4, 0xfc), QColor(0x10, 0x10, 0x10), QColor(0xc9, 0xdc, 0xf5),
                    QColor(0x15, 0x42, 0x8b), QColor(0xfb, 0xd8, 0x84), Qt::black,
                    QColor(0x99, 0xbb, 0xe8), QColor(0x6a, 0x8c, 0xcb), QColor(0xf0, 0xf6, 0xff),
                    QColor(0xff, 0xff, 0xe1)};
        case cmd::kLookOffice2007Black:
            // A dark frame that still shows the dark toolbar icons.
            return {QColor(0x7b, 0x7b, 0x7b), QColor(0xff, 0xff, 0xff), Qt::white,
                    QColor(0xf1, 0xf1, 0xf1), QColor(0x10, 0x10, 0x10), QColor(0x8c, 0x8c, 0x8c),
                    QColor(0xff, 0xff, 0xff), QColor(0xf7, 0xc8, 0x5f), Qt::black,
                    QColor(0x5a, 0x5a, 0x5a), QColor(0x3a, 0x3a, 0x3a), QColor(0xa8, 0xa8, 0xa8),
                    QColor(0xff, 0xff, 0xe1)};
        case cmd::kLookOffice2007Silver:
            return {QColor(0xe4, 0xe7, 0xec), QColor(0x20, 0x20, 0x20), Qt::white,
                    QColor(0xf4, 0xf5, 0xf7), QColor(0x10, 0x10, 0x10), QColor(0xdc, 0xe0, 0xe6),
                    QColor(0x20, 0x20, 0x20), QColor(0xff, 0xd9, 0x7a), Qt::black,
                    QColor(0xb4, 0xba, 0xc4), QColor(0x8a, 0x90, 0x9a), QColor(0xfa, 0xfb, 0xfc),
                    QColor(0xff, 0xff, 0xe1)};
        case cmd::kLookOffice2007Aqua:
            return {QColor(0xd3, 0xe9, 0xee), QColor(0x1a, 0x4a, 0x5a), Qt::white,
                    QColor(0xec, 0xf6, 0xf8), QColor(0x10, 0x10, 0x10), QColor(0xc4, 0xe1, 0xe8),
                    QColor(0x1a, 0x4a, 0x5a), QColor(0x9f, 0xd6, 0xe9), Qt::black,
                    QColor(0x8e, 0xc2, 0xcf), QColor(0x5b, 0x95, 0xa6), QColor(0xf2, 0xfa, 0xfc),
                    QColor(0xff, 0xff, 0xe1)};
        default:  // Windows
            return {QColor(0xf0, 0xf0, 0xf0),
                    Qt::black,
                    Qt::white,
                    QColor(0xf7, 0xf7, 0xf7),
                    Qt::black,
                    QColor(0xe1, 0xe1, 0xe1),
                    Qt::black,
                    QColor(0x00, 0x78, 0xd7),
                    Qt::white,
                    QColor(0xa0, 0xa0, 0xa0),
                    QColor(0x69, 0x69, 0x69),
                    Qt::white,
                    QColor(0xff, 0xff, 0xe1)};
    }
}

}  // namespace

int ValidLookId(int id) {
    return id >= cmd::kLookFirst && id <= cmd::kLookLast ? id
                                                         : CLayoutProfile::kDefaultApplicationLook;
}

int ShownLookId(int id) {
    switch (ValidLookId(id)) {
        case 213:  // Office 2003
        case 214:  // Visual Studio 2005
        case cmd::kLookOffice2007Blue:
            return cmd::kLookOffice2007Blue;
        case cmd::kLookOffice2007Black:
            return cmd::kLookOffice2007Black;
        case cmd::kLookOffice2007Silver:
            return cmd::kLookOffice2007Silver;
        case cmd::kLookOffice2007Aqua:
            return cmd::kLookOffice2007Aqua;
        default:  // 210 to 212, 219 and 220: the plain Windows looks
            return cmd::kLookWindows;
    }
}

QString LookMenuText(int id) {
    switch (id) {
        case cmd::kLookWindows:
            return QStringLiteral("Windows");
        case cmd::kLookOffice2007Blue:
            return QStringLiteral("Office 2007 (&Blue Style)");
        case cmd::kLookOffice2007Black:
            return QStringLiteral("Office 2007 (B&lack Style)");
        case cmd::kLookOffice2007Silver:
            return QStringLiteral("Office 2007 (&Silver Style)");
        case cmd::kLookOffice2007Aqua:
            return QStringLiteral("Office 2007 (&Aqua Style)");
        default:
            return {};
    }
}

QPalette PaletteForLook(int id) {
    const LookColours c = ColoursFor(ShownLookId(id));
    QPalette p;
    p.setColor(QPalette::Window, c.window);
    p.setColor(QPalette::WindowText, c.windowText);
    p.setColor(QPalette::Base, c.base);
    p.setColor(QPalette::AlternateBase, c.alternateBase);
    p.setColor(QPalette::Text, c.text);
    p.setColor(QPalette::Button, c.button);
    p.setColor(QPalette::ButtonText, c.buttonText);
    p.setColor(QPalette::Highlight, c.highlight);
    p.setColor(QPalette::HighlightedText, c.highlightedText);
    p.setColor(QPalette::Mid, c.mid);
    p.setColor(QPalette::Dark, c.dark);
    p.setColor(QPalette::Light, c.light);
    p.setColor(QPalette::Midlight, c.light);
    p.setColor(QPalette::Shadow, c.dark.darker(130));
    p.setColor(QPalette::ToolTipBase, c.toolTipBase);
    p.setColor(QPalette::ToolTipText, Qt::black);
    p.setColor(QPalette::PlaceholderText, c.mid.darker(120));
    p.setColor(QPalette::BrightText, Qt::red);
    p.setColor(QPalette::Link, QColor(0x00, 0x66, 0xcc));
    const QColor disabledText =
        c.windowText.lightness() > 128 ? c.windowText.darker(160) : QColor(0x80, 0x80, 0x80);
    p.setColor(QPalette::Disabled, QPalette::WindowText, disabledText);
    p.setColor(QPalette::Disabled, QPalette::ButtonText, disabledText);
    p.setColor(QPalette::Disabled, QPalette::Text, QColor(0x80, 0x80, 0x80));
    p.setColor(QPalette::Inactive, QPalette::Highlight, c.highlight.lighter(115));
    return p;
}

void ApplyLook(int id) {
    if (QApplication::style() == nullptr ||
        QApplication::style()->name().compare(QLatin1String("fusion"), Qt::CaseInsensitive) != 0) {
        QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    }
    const QPalette palette = PaletteForLook(id);
    QApplication::setPalette(palette);
    // Views draw their branch arrows in the window-text colour, on the base colour: keep
    // them dark where the frame's text is light.
    QPalette views = palette;
    views.setColor(QPalette::WindowText, palette.color(QPalette::Text));
    QApplication::setPalette(views, "QAbstractItemView");
}

}  // namespace vz
