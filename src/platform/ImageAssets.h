#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>

class QPainter;
class QRectF;

// Images by name, from the application's resources (":/images/<name>.svg" or ".png").
namespace ImageAssets {

QString path(const QString& name);
bool exists(const QString& name);
QIcon icon(const QString& name);
// Renders at the device pixel ratio of the target, sharp at 1x and 2x.
QPixmap pixmap(const QString& name, const QSize& logicalSize, qreal devicePixelRatio = 1.0);
void paint(QPainter& painter, const QRectF& target, const QString& name);
// The natural size of an image (an SVG's default size); empty when there is no such image.
QSize naturalSize(const QString& name);

} // namespace ImageAssets
