#include "ImageAssets.h"

#include "Logging.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace ImageAssets {

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
        QSvgRenderer renderer(file);
        if (renderer.isValid()) {
            renderer.render(&painter, target);
            return;
        }
    } else if (QFile::exists(file)) {
        painter.drawPixmap(target, QPixmap(file), QRectF());
        return;
    }
    qCWarning(lcPlatform).noquote() << "Image asset not found:" << name;
}

} // namespace ImageAssets
