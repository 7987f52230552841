#include "LayerView.h"

#include "platform/ImageAssets.h"

#include <QPainter>
#include <QPainterPath>

LayerView::LayerView(QWidget* parent)
    : QWidget(parent)
{ }

void LayerView::setLayerBackgroundColor(const QColor& color)
{
    m_background = color;
    update();
}

void LayerView::setLayerContents(const QString& assetName)
{
    m_contents = assetName;
    update();
}

void LayerView::setLayerCornerRadius(qreal radius)
{
    m_cornerRadius = radius;
    update();
}

void LayerView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath clip;
    clip.addRoundedRect(QRectF(rect()), m_cornerRadius, m_cornerRadius);
    painter.setClipPath(clip);
    if (m_background.alpha() > 0)
        painter.fillRect(rect(), m_background);
    if (!m_contents.isEmpty())
        ImageAssets::paint(painter, QRectF(rect()), m_contents);
}
