#include "ImageAssets.h"

#include "Logging.h"

#include <QFile>
#include <QHash>
#include <QPainter>
#include <QSvgRenderer>

#include <memory>

namespace ImageAssets {

namespace {
// Each SVG is parsed once and its renderer kept: layouts ask for sizes and views repaint often,
// and the set of packaged images is small and fixed. GUI thread only, as painting on widgets is.
QSvgRenderer* svgRenderer(const QString& file)
{
    static QHash<QString, std::shared_ptr<QSvgRenderer>> renderers;
    auto it = renderers.find(file);
    if (it == renderers.end())
        it = renderers.insert(file, std::make_shared<QSvgRenderer>(file));
    return it->get()->isValid() ? it->get() : nullptr;
}
} // namespace

QString path(const QString& name)
{
    const QString svg = QStringLiteral(":/images/%1.svg").arg(name);
    if (QFile::exists(svg))
        return svg;
    return QStringLiteral(":/images/%1.png").arg(name);
}

bool exists(const QString& name)
{
    return QFile::exists(path(name));
}

QIcon icon(const QString& name)
{
    return QIcon(path(name));
}

QPixmap pixmap(const QString& name, const QSize& logicalSize, qreal devicePixelRatio)
{
    QPixmap out(logicalSize * devicePixelRatio);
    out.fill(Qt::transparent);
    out.setDevicePixelRatio(devicePixelRatio);
    QPainter painter(&out);
    paint(painter, QRectF(QPointF(0, 0), QSizeF(logicalSize)), name);
    return out;
}

void paint(QPainter& painter, const QRectF& target, const QString& name)
{
    const QString file = path(name);
    if (file.endsWith(QLatin1String(".svg"))) {
        if (QSvgRenderer* renderer = svgRenderer(file)) {
            renderer->render(&painter, target);
            return;
        }
    } else if (QFile::exists(file)) {
        painter.drawPixmap(target, QPixmap(file), QRectF());
        return;
    }
    qCWarning(lcPlatform).noquote() << "Image asset not found:" << name;
}

QSize naturalSize(const QString& name)
{
    const QString file = path(name);
    if (file.endsWith(QLatin1String(".svg"))) {
        const QSvgRenderer* renderer = svgRenderer(file);
        return renderer ? renderer->defaultSize() : QSize();
    }
    return QPixmap(file).size();
}

} // namespace ImageAssets
