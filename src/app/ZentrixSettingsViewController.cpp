#include "ZentrixSettingsViewController.h"

#include "ui_ZentrixSettingsViewController.h"

#include "controls/LayerView.h"
#include "platform/Fonts.h"

ZentrixSettingsViewController::ZentrixSettingsViewController(QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ZentrixSettingsViewController>())
{
    ui->setupUi(this);
    viewDidLoad();
}

ZentrixSettingsViewController::~ZentrixSettingsViewController() = default;

void ZentrixSettingsViewController::viewDidLoad()
{
    ui->titleLabel->setFont(Fonts::named(QStringLiteral("Poppins-SemiBold"), 16));
    const QFont label = Fonts::named(QStringLiteral("Poppins-Regular"), 13);
    ui->fpsLabel->setFont(label);
    ui->resolutionLabel->setFont(label);
    initUI();
}

void ZentrixSettingsViewController::initUI()
{
    ui->settingsView->setLayerBackgroundColor(Qt::white);
    ui->fpsButton->clear();
    ui->fpsButton->addItems(
        {QStringLiteral("15"), QStringLiteral("25"), QStringLiteral("30"), QStringLiteral("60")});
    ui->sessionPresentButton->clear();
    ui->sessionPresentButton->addItems({QStringLiteral("1080P"), QStringLiteral("720P")});
}

QComboBox* ZentrixSettingsViewController::sessionPresentButton() const
{
    return ui->sessionPresentButton;
}

QComboBox* ZentrixSettingsViewController::fpsButton() const
{
    return ui->fpsButton;
}

LayerView* ZentrixSettingsViewController::settingsView() const
{
    return ui->settingsView;
}
