#include "AssetImageView.h"

#include "platform/ImageAssets.h"

#include <QPainter>

AssetImageView::AssetImageView(QWidget* parent)
    : QWidget(parent)
{ }

void AssetImageView::setAssetName(const QString& name)
{
    m_assetName = name;
    updateGeometry();
    update();
}

QSize AssetImageView::sizeHint() const
{
    if (m_assetName.isEmpty())
        return {0, 0};
    const QSize natural = ImageAssets::naturalSize(m_assetName);
    return natural.isValid() ? natural : QSize(0, 0);
}

void AssetImageView::paintEvent(QPaintEvent*)
{
    if (m_assetName.isEmpty())
        return;
    QSizeF natural = sizeHint();
    if (natural.isEmpty())
        natural = size();
    const QSizeF fitted = natural.scaled(size(), Qt::KeepAspectRatio);
    const QRectF target(
        QPointF((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    ImageAssets::paint(painter, target, m_assetName);
}
