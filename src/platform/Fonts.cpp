#include "Fonts.h"

#include "Logging.h"

#include <QDirIterator>
#include <QFile>
#include <QFontDatabase>
#include <QSet>

namespace Fonts {

namespace {
const QStringList& suffixes()
{
    // TrueType first: FreeType decompresses a WOFF2 file again every time a face is opened.
    static const QStringList list {QStringLiteral(".ttf"), QStringLiteral(".otf"),
        QStringLiteral(".woff2"), QStringLiteral(".woff")};
    return list;
}

// Registers one packaged font file once, however often it is asked for.
void addOnce(const QString& file)
{
    static QSet<QString> added;
    if (added.contains(file))
        return;
    added.insert(file);
    if (QFontDatabase::addApplicationFont(file) < 0)
        qCWarning(lcPlatform).noquote() << "Could not load font" << file;
}

// Each packaged file is named after its font ("Poppins-Regular.ttf"). Only the fonts a screen
// asks for are read, so the splash screen does not wait for the dashboard's weights.
void loadFontNamed(const QString& name)
{
    static QSet<QString> looked;
    if (looked.contains(name))
        return;
    looked.insert(name);
    for (const QString& suffix : suffixes()) {
        const QString file = QStringLiteral(":/fonts/") + name + suffix;
        if (QFile::exists(file)) {
            addOnce(file);
            return;
        }
    }
}
} // namespace

void loadApplicationFonts()
{
    QStringList patterns;
    for (const QString& suffix : suffixes())
        patterns.append(QLatin1Char('*') + suffix);
    QDirIterator it(QStringLiteral(":/fonts"), patterns);
    while (it.hasNext())
        addOnce(it.next());
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
    loadFontNamed(name);
    QFont font(familyFor(name));
    font.setPixelSize(size);
    return font;
}

} // namespace Fonts
