#include "Fonts.h"

#include "Logging.h"

#include <QDirIterator>
#include <QFontDatabase>

namespace Fonts {

void loadApplicationFonts()
{
    static bool loaded = false;
    if (loaded)
        return;
    loaded = true;
    QDirIterator it(QStringLiteral(":/fonts"),
        {QStringLiteral("*.woff2"), QStringLiteral("*.woff"), QStringLiteral("*.ttf"),
            QStringLiteral("*.otf")});
    while (it.hasNext()) {
        const QString file = it.next();
        if (QFontDatabase::addApplicationFont(file) < 0)
            qCWarning(lcPlatform).noquote() << "Could not load font" << file;
    }
}

QString familyFor(const QString& name)
{
    if (name == QLatin1String("Poppins-Regular"))
        return QStringLiteral("Poppins");
    if (name == QLatin1String("Poppins-Medium"))
        return QStringLiteral("Poppins Medium");
    if (name == QLatin1String("Poppins-SemiBold"))
        return QStringLiteral("Poppins SemiBold");
    if (name == QLatin1String("Poppins-ExtraLight"))
        return QStringLiteral("Poppins ExtraLight");
    return QString(name).replace(QLatin1Char('-'), QLatin1Char(' '));
}

QFont named(const QString& name, int size)
{
    loadApplicationFonts();
    QFont font(familyFor(name));
    font.setPixelSize(size);
    return font;
}

} // namespace Fonts
