#pragma once
// The visual styles (command ids 210 to 220): the Fusion style with a palette per look.
// The menu offers "Windows" (220) and the four "Office 2007" looks (215 blue, 216 black,
// 217 silver, 218 aqua); the other ids stay accepted and show the nearest of those five.

#include <QPalette>
#include <QString>

namespace vz {

// The stored id when it is a look (210 to 220), else the default 218.
int ValidLookId(int id);
// The look of the menu that an accepted id shows (215 to 218 or 220).
int ShownLookId(int id);
// The menu text of a look offered in the menu; empty for the others.
QString LookMenuText(int id);
QPalette PaletteForLook(int id);
// Sets the Fusion style and the look's palette on the application.
void ApplyLook(int id);

}  // namespace vz
