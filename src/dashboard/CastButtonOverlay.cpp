#include "CastButtonOverlay.h"

#include <QKeyEvent>
#include <QPainter>

CastButtonOverlay::CastButtonOverlay(QWidget* parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
}

void CastButtonOverlay::paintEvent(QPaintEvent*)
{
    // Only the focus ring; the face belongs to the view underneath.
    if (!hasFocus())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(52, 73, 94), 2.0, Qt::DashLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QRectF(rect()).adjusted(6, 6, -6, -6));
}

void CastButtonOverlay::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        animateClick();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

bool CastButtonOverlay::hitButton(const QPoint& pos) const
{
    // The face is a circle: the corners of the square are not part of the button.
    const QPointF centre = QRectF(rect()).center();
    const qreal radius = width() / 2.0;
    const QPointF d = QPointF(pos) - centre;
    return d.x() * d.x() + d.y() * d.y() <= radius * radius;
}
