#include "SplashScreenViewController.h"

#include "ui_SplashScreenViewController.h"

#include "MainWindow.h"
#include "Storyboard.h"
#include "platform/Fonts.h"
#include "platform/Logging.h"

#include <QTimer>

SplashScreenViewController::SplashScreenViewController(QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::SplashScreenViewController>())
{
    ui->setupUi(this);
    setAttribute(Qt::WA_StyledBackground);
    viewDidLoad();
}

SplashScreenViewController::~SplashScreenViewController() = default;

void SplashScreenViewController::viewDidLoad()
{
    ui->mainTitleLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 20));
    ui->subTitleLabel->setFont(Fonts::named(QStringLiteral("Poppins-ExtraLight"), 20));
    // Tied to this controller: if the window is gone before the delay ends (the user closed
    // it and the application quit), the step is dropped instead of touching a dead window.
    // A precise timer: Qt's default for delays of 2 s and more may fire up to 5% early.
    QTimer::singleShot(kDashboardDelay, Qt::PreciseTimer, this, [this] { showDashboard(); });
}

void SplashScreenViewController::showDashboard()
{
    auto* window = qobject_cast<MainWindow*>(this->window());
    QWidget* dashboard = Storyboard::named(QStringLiteral("Main"))
                             .instantiateControllerWithIdentifier(
                                 QStringLiteral("DashboardViewController"), window);
    if (!window || !dashboard) {
        qCWarning(lcApp) << "The splash screen is not in the main window";
        delete dashboard;
        return;
    }
    window->setContentViewController(dashboard);
}

QLabel* SplashScreenViewController::mainTitleLabel() const
{
    return ui->mainTitleLabel;
}

QLabel* SplashScreenViewController::subTitleLabel() const
{
    return ui->subTitleLabel;
}
