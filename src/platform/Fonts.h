#pragma once

#include <QFont>
#include <QString>

// Fonts by their names ("Poppins-Regular", "Poppins-Medium", "Poppins-SemiBold",
// "Poppins-ExtraLight"). Each weight is packaged as its own family, so a name maps to a family.
namespace Fonts {

// Registers every font packaged under ":/fonts/". Safe to call more than once. The application
// does not need it: named() registers the one file it asks for.
void loadApplicationFonts();

// The font for a name at a size in logical pixels (the desktop's "points" of the layouts);
// registers that font's packaged file the first time it is asked for.
QFont named(const QString& name, int size);

// The family a name maps to, e.g. "Poppins-Medium" -> "Poppins Medium".
QString familyFor(const QString& name);

} // namespace Fonts
