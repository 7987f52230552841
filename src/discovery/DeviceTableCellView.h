#pragma once

#include <QWidget>

#include <memory>

class LayerView;
class QLabel;
namespace Ui {
class DeviceTableCellView;
}

// One row of the receiver list: a status icon, the display name and a second line.
class DeviceTableCellView : public QWidget
{
    Q_OBJECT
public:
    explicit DeviceTableCellView(QWidget* parent = nullptr);
    ~DeviceTableCellView() override;

    // The icon shown by a newly made row.
    static inline const QString kDefaultImage = QStringLiteral("radioIcon");

    LayerView* conectedImageView() const;
    QLabel* deviceNameLabel() const;
    QLabel* deviceIPLabel() const;

    // The asset name the icon shows.
    QString image() const;
    void setImage(const QString& assetName);

private:
    std::unique_ptr<Ui::DeviceTableCellView> m_ui;
};
