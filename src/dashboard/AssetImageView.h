#pragma once

#include <QString>
#include <QWidget>

// Shows one image from the application's assets, scaled to fit and centred, sharp at any
// device pixel ratio. Layouts name the image through the assetName property.
class AssetImageView : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString assetName READ assetName WRITE setAssetName)

public:
    explicit AssetImageView(QWidget* parent = nullptr);

    QString assetName() const { return m_assetName; }
    void setAssetName(const QString& name);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_assetName;
};
