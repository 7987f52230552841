#include "MainWindow.h"

#include "platform/ImageAssets.h"

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
{
    setWindowTitle(QStringLiteral("ORVENTA Companion"));
    setWindowIcon(ImageAssets::icon(QStringLiteral("appIcon")));
    setMinimumSize(860, 560);
    resize(kDefaultSize);
}

void MainWindow::setContentViewController(QWidget* controller)
{
    if (QWidget* old = takeCentralWidget()) {
        old->hide();
        old->deleteLater();
    }
    setCentralWidget(controller);
    emit contentViewControllerChanged(controller);
}
