#pragma once

#include <QWidget>

#include <chrono>
#include <memory>

class QLabel;

namespace Ui {
class SplashScreenViewController;
}

// The first content of the window. Two seconds after it loads it puts the dashboard into the
// same window in its place.
class SplashScreenViewController : public QWidget
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds kDashboardDelay {2000};

    explicit SplashScreenViewController(QWidget* parent = nullptr);
    ~SplashScreenViewController() override;

    void viewDidLoad();

    QLabel* mainTitleLabel() const;
    QLabel* subTitleLabel() const;

private:
    void showDashboard();

    std::unique_ptr<Ui::SplashScreenViewController> ui;
};
