#include "MainScreen.h"

#include <QGuiApplication>
#include <QPointer>
#include <QScreen>
#include <QWindow>

namespace MainScreen {
namespace {
// The last window found is remembered so that the per-report lookup does not build the list
// of top-level windows again while that window stays shown.
QPointer<QWindow>& lastWindow()
{
    static QPointer<QWindow> window;
    return window;
}

QWindow* findShownWindow()
{
    QWindow* window = lastWindow();
    if (window && window->isVisible() && window->isTopLevel())
        return window;
    window = nullptr;
    const QWindowList windows = QGuiApplication::topLevelWindows();
    for (QWindow* candidate : windows) {
        if (candidate->isVisible() && candidate->type() != Qt::Desktop) {
            window = candidate;
            break;
        }
    }
    lastWindow() = window;
    return window;
}
} // namespace

QScreen* current()
{
    if (!qGuiApp)
        return nullptr;
    if (QWindow* window = findShownWindow(); window && window->screen())
        return window->screen();
    return QGuiApplication::primaryScreen();
}

} // namespace MainScreen
