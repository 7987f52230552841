#include "MainWindow.h"

#include "platform/ImageAssets.h"

#include <QTimer>

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
{
    setWindowTitle(QStringLiteral("ORVENTA Companion"));
    // The icon is for the window manager and task switchers. Set on the first pass of the event
    // loop, after the window was shown, so that loading the SVG icon engine and rendering the
    // icon at four sizes does not hold up the window's appearance.
    QTimer::singleShot(
        0, this, [this] { setWindowIcon(ImageAssets::icon(QStringLiteral("appIcon"))); });
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
