// The window's look: the fixed palette and the two font chains, whatever the desktop's theme.
#pragma once

#include <QColor>
#include <QFont>

#include <filesystem>

namespace velko::window {

// The palette, in sRGB.
inline const QColor kWindowBackground(28, 37, 46);
inline const QColor kCard(38, 50, 62);
inline const QColor kAccent(16, 182, 239);
inline const QColor kText(241, 241, 241);
inline const QColor kAmber(255, 161, 0);
inline const QColor kAmberHover(255, 177, 38);
inline const QColor kAmberPressed(224, 143, 0);
inline const QColor kCoral(255, 107, 94);
inline const QColor kWhite(255, 255, 255);

// `color` with its alpha replaced by `alpha` (0 to 1).
QColor withAlpha(QColor color, double alpha);

// Subtitles, hints and the neutral dot: the text colour at alpha 0.62.
QColor dimText();

// Registers for this process every file in `folder` whose lower-cased extension is ".ttf". No name
// is checked; a missing or unreadable folder and a file that fails to register are skipped
// without a word.
void registerFontFolder(const std::filesystem::path& folder);

// The bold chain at `pixels` (one point of the layout is one pixel): Lato Bold, else Lato Regular
// in regular weight (never a synthesised bold), else the system's bold font.
QFont boldFont(double pixels);

// The regular chain: Lato Regular, else the system font.
QFont regularFont(double pixels);

}  // namespace velko::window
