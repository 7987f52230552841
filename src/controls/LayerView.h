#pragma once

#include <QColor>
#include <QString>
#include <QWidget>

// A plain view whose look is a "layer": a background colour, an optional image by asset name
// that fills the bounds, and a corner radius. The dashboard's panels and buttons are drawn so.
class LayerView : public QWidget
{
    Q_OBJECT
public:
    explicit LayerView(QWidget* parent = nullptr);

    QColor layerBackgroundColor() const { return m_background; }
    void setLayerBackgroundColor(const QColor& color);

    // Asset name of the image shown over the background (empty: none), e.g. "castingInactive".
    QString layerContents() const { return m_contents; }
    void setLayerContents(const QString& assetName);

    qreal layerCornerRadius() const { return m_cornerRadius; }
    void setLayerCornerRadius(qreal radius);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_background = Qt::transparent;
    QString m_contents;
    qreal m_cornerRadius = 0.0;
};
