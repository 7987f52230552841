#include "DashboardViewController.h"

#include "ui_DashboardViewController.h"

#include "app/Storyboard.h"
#include "app/ZentrixSettingsViewController.h"
#include "controls/DragDropView.h"
#include "controls/LayerView.h"
#include "controls/MaskingView.h"
#include "controls/OrbSwitch.h"
#include "dashboard/AssetImageView.h"
#include "dashboard/PopoverWindow.h"
#include "discovery/DevicesListViewController.h"
#include "input/MouseSimulate.h"
#include "platform/Fonts.h"
#include "platform/ImageAssets.h"
#include "platform/Logging.h"
#include "receiver/HDMITouchBack.h"

#include <QEvent>
#include <QTimer>
#include <QUdpSocket>

namespace {
const QColor kSlate(52, 73, 94);
const QString kUploadRefusingModel = QStringLiteral("Quorvi-Pro");
} // namespace

DashboardViewController::DashboardViewController(QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::DashboardViewController>())
{
    ui->setupUi(this);
    m_fileUploadView = ui->fileUploadView;
    ui->devicesListIcon->setIcon(ImageAssets::icon(QStringLiteral("radioIcon")));
    ui->settingsIcon->setIcon(ImageAssets::icon(QStringLiteral("settingsGear")));
    ui->castButtonView->installEventFilter(this);
    ui->hdmiToggleView->installEventFilter(this);
    connectActions();
    viewDidLoad();
}

DashboardViewController::~DashboardViewController() = default;

void DashboardViewController::connectActions()
{
    connect(ui->connectButton, &QPushButton::clicked, this,
        &DashboardViewController::connectButtonClicked);
    connect(ui->devicesListIcon, &QToolButton::clicked, this,
        &DashboardViewController::devicesListIconClicked);
    connect(ui->settingsIcon, &QToolButton::clicked, this,
        &DashboardViewController::settingsIconClicked);
    connect(ui->castButton, &QAbstractButton::clicked, this,
        &DashboardViewController::castButtonClicked);
    // The "Choose file…" button in the drop area sends the open-panel upload.
    connect(ui->fileUploadButton, &QPushButton::clicked, this,
        &DashboardViewController::uploadFileAction);
    ui->wirelessTouchSwitch->setTargetAction(
        this, &DashboardViewController::wirelessTouchSwitchToggled);
}

void DashboardViewController::viewDidLoad()
{
    m_isCastingInProgress = false;
    m_isTouchBackEnabled = false;
    m_serverPingFailedCount = 0;
    m_hdmiTouchback = std::make_unique<HDMITouchBack>();
    setupView();
    m_imageFileTypes = {QStringLiteral("png"), QStringLiteral("jpg"), QStringLiteral("jpeg"),
        QStringLiteral("psd"), QStringLiteral("svg"), QStringLiteral("gof")};
    m_videoFileTypes = {QStringLiteral("mp3"), QStringLiteral("mov"), QStringLiteral("mp4")};
    m_documentsFileTypes = {QStringLiteral("doc"), QStringLiteral("docx"), QStringLiteral("ppt"),
        QStringLiteral("pptx"), QStringLiteral("pdf"), QStringLiteral("key"), QStringLiteral("pps"),
        QStringLiteral("xls"), QStringLiteral("xlsx")};
}

void DashboardViewController::setupView()
{
    LayerView* cast = ui->castButtonView;
    cast->setLayerCornerRadius(cast ? cast->width() / 2.0 : 0.0);
    cast->setLayerContents(QStringLiteral("castingInactive"));
    m_fileUploadView->setLayerContents(QStringLiteral("fileUploadGrid"));
    ui->dashboardParentView->setLayerBackgroundColor(Qt::white);
    ui->wirelessTouchSwitch->setChecked(false);
    // The second init() is what registers the drop view's dragged types.
    m_fileUploadView = m_fileUploadView->init();
    m_fileUploadView->setDelegate(this);
    QColor toolbar = kSlate;
    toolbar.setAlphaF(0.25);
    ui->toolbarView->setLayerBackgroundColor(toolbar);
    ui->hdmiToggleView->setLayerBackgroundColor(QColor(34, 34, 34, qRound(0.25 * 255)));
    ui->hdmiToggleView->setLayerCornerRadius(14);
    ui->hdmiToggleView->hide();
    m_fileUploadView->hide();
    ui->castButtonView->hide();
    ui->hdmiMessageView->hide();
    applyTypography();
}

void DashboardViewController::applyTypography()
{
    ui->deviceStatusLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 16));
    ui->facingProblemLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 16));
    ui->enableHDMILabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 16));
    ui->deviceHDMIMainLabel->setFont(Fonts::named(QStringLiteral("Poppins-SemiBold"), 32));
    ui->deviceHDMISubLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 16));
    ui->dragAndDropLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 12));
    ui->emptyStateLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 12));
    // Texts of the layout itself.
    ui->brandLabel->setFont(Fonts::named(QStringLiteral("Poppins-SemiBold"), 18));
    ui->emptyStateTitleLabel->setFont(Fonts::named(QStringLiteral("Poppins-SemiBold"), 22));
    ui->dragAndDropHintLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 12));
    ui->castCaptionLabel->setFont(Fonts::named(QStringLiteral("Poppins-Medium"), 14));
    ui->wirelessTouchStatusLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 12));
    ui->connectButton->setFont(Fonts::named(QStringLiteral("Poppins-Medium"), 14));
    ui->fileUploadButton->setFont(Fonts::named(QStringLiteral("Poppins-Medium"), 13));
}

bool DashboardViewController::eventFilter(QObject* watched, QEvent* event)
{
    // The caption under the cast button comes and goes with the button, and the session column
    // makes room for the empty state when neither of its panels is shown.
    const bool shownOrHidden
        = event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent;
    if (shownOrHidden && (watched == ui->castButtonView || watched == ui->hdmiToggleView)) {
        ui->castCaptionLabel->setVisible(!ui->castButtonView->isHidden());
        ui->sessionColumn->setVisible(
            !ui->castButtonView->isHidden() || !ui->hdmiToggleView->isHidden());
    }
    return QWidget::eventFilter(watched, event);
}

void DashboardViewController::setRepresentedObject(const QVariant& object)
{
    m_representedObject = object;
}

bool DashboardViewController::acceptsUploads(const QString& deviceName)
{
    return !deviceName.contains(kUploadRefusingModel, Qt::CaseSensitive);
}

void DashboardViewController::didPickCastingDeviceWithIP(
    const QString& ip, const QString& hex, const QString& name)
{
    m_selectedDeviceIPAddress = ip;
    m_selectedDeviceName = name;
    m_selectedDeviceHex = hex;
    ui->deviceStatusLabel->setText(QStringLiteral("Paired to %1").arg(hex));
    m_isFileUploadEnabled = acceptsUploads(m_selectedDeviceName);
    m_fileUploadView->show();
    ui->hdmiToggleView->show();
    ui->castButtonView->show();
    ui->emptyStateImageView->hide();
    qCInfo(lcDashboard).noquote() << "Paired to" << ip << hex << name;
}

void DashboardViewController::deviceDisconnecetd()
{
    if (m_isCastingInProgress) {
        stopScreenCast();
        showScreenCastStoppedMessage();
    }
    initiateHDMITouchbackEnabled(false, false);
    m_isCastingInProgress = false;
    m_selectedDeviceIPAddress.reset();
    ui->deviceStatusLabel->setText(QStringLiteral("*No Device Connected"));
    ui->hdmiToggleView->hide();
    ui->hdmiMessageView->hide();
    ui->wirelessTouchSwitch->setChecked(false);
    m_fileUploadView->hide();
    ui->castButtonView->hide();
    ui->emptyStateImageView->show();
}

void DashboardViewController::cleanUIAfterCastingOff()
{
    stopScreenCast();
    ui->hdmiToggleView->show();
    m_fileUploadView->show();
    ui->castButtonView->show();
    ui->emptyStateImageView->hide();
    ui->hdmiMessageView->hide();
    ui->wirelessTouchSwitch->setChecked(false);
}

void DashboardViewController::setMouseSimulator(std::unique_ptr<MouseSimulate> simulator)
{
    m_mouseSimulator = std::move(simulator);
}
