#include "DeviceTableCellView.h"

#include "ui_DeviceTableCellView.h"

#include "platform/Fonts.h"

DeviceTableCellView::DeviceTableCellView(QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::DeviceTableCellView>())
{
    m_ui->setupUi(this);
    m_ui->conectedImageView->setLayerContents(kDefaultImage);
    m_ui->deviceNameLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 16));
    m_ui->deviceIPLabel->setFont(Fonts::named(QStringLiteral("Poppins-Medium"), 12));
}

DeviceTableCellView::~DeviceTableCellView() = default;

LayerView* DeviceTableCellView::conectedImageView() const
{
    return m_ui->conectedImageView;
}

QLabel* DeviceTableCellView::deviceNameLabel() const
{
    return m_ui->deviceNameLabel;
}

QLabel* DeviceTableCellView::deviceIPLabel() const
{
    return m_ui->deviceIPLabel;
}

QString DeviceTableCellView::image() const
{
    return m_ui->conectedImageView->layerContents();
}

void DeviceTableCellView::setImage(const QString& assetName)
{
    m_ui->conectedImageView->setLayerContents(assetName);
}
