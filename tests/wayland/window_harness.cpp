// The application's own window parts as a Wayland client, for tests that watch them from outside
// (screenshots of the compositor's screen cast, input posted through the compositor).
//   window-harness dashboard   the dashboard, full screen, with its popovers; prints
//                              "ready list X Y W H settings X Y W H": the icons' rectangles
//   window-harness drop        a drop area filling the screen; prints "ready drop X Y W H", then
//                              "drop URL" for every file dropped on it
// Full screen, the window's pixels are the screen's, so the rectangles are screen rectangles.
// "ready" comes once the window covers its screen and has been exposed.
#include "FakeServiceBrowser.h"

#include "app/MainStoryboard.h"
#include "app/MainWindow.h"
#include "app/Storyboard.h"
#include "controls/DragDropView.h"
#include "controls/DragDropViewDelegate.h"
#include "dashboard/DashboardViewController.h"
#include "platform/Fonts.h"

#include <QApplication>
#include <QScreen>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <QWindow>

#include <cstdio>
#include <functional>

namespace {
void say(const QString& line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

QString rectText(const QWidget* widget)
{
    const QRect r(widget->mapTo(widget->window(), QPoint(0, 0)), widget->size());
    return QStringLiteral("%1 %2 %3 %4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

class DropPrinter : public DragDropViewDelegate
{
public:
    void uploadFileURL(const QUrl& fileUrl) override
    {
        say(QStringLiteral("drop ") + fileUrl.toString());
    }
    void draggingInprogress() override { }
    void draggingBegin() override { }
    void draggingFinished() override { }
};

// Says "ready ..." once the window covers its whole screen and is exposed (checked every 20 ms:
// the full-screen configure and the first frame come from the compositor in either order).
void reportWhenReady(QWidget* window, std::function<QString()> line)
{
    auto* timer = new QTimer(window);
    QObject::connect(timer, &QTimer::timeout, window, [window, timer, line = std::move(line)] {
        const QWindow* handle = window->windowHandle();
        if (!handle || !handle->isExposed() || !window->screen()
            || window->size() != window->screen()->geometry().size())
            return;
        timer->stop();
        say(line());
    });
    timer->start(20);
}
} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QString mode = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    Fonts::loadApplicationFonts();
    MainStoryboard::registerControllers();
    FakeServiceBrowser::install();

    MainWindow window;
    DropPrinter printer;
    if (mode == u"dashboard") {
        auto* dashboard = qobject_cast<DashboardViewController*>(
            Storyboard::named(QStringLiteral("Main"))
                .instantiateControllerWithIdentifier(
                    QStringLiteral("DashboardViewController"), &window));
        if (!dashboard)
            return 1;
        window.setContentViewController(dashboard);
        reportWhenReady(&window, [dashboard] {
            return QStringLiteral("ready list %1 settings %2")
                .arg(rectText(dashboard->devicesListIcon()), rectText(dashboard->settingsIcon()));
        });
    } else if (mode == u"drop") {
        auto* area = new DragDropView(&window);
        area->init()->setDelegate(&printer);
        window.setContentViewController(area);
        reportWhenReady(&window, [area] { return QStringLiteral("ready drop ") + rectText(area); });
    } else {
        std::fprintf(stderr, "usage: window-harness dashboard|drop\n");
        return 2;
    }
    window.showFullScreen();
    return app.exec();
}
