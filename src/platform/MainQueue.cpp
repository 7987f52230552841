#include "MainQueue.h"

#include <QCoreApplication>
#include <QTimer>

namespace MainQueue {

void after(std::chrono::milliseconds delay, std::function<void()> task)
{
    QTimer::singleShot(delay, Qt::PreciseTimer, QCoreApplication::instance(), std::move(task));
}

void after(std::chrono::milliseconds delay, QObject* context, std::function<void()> task)
{
    QTimer::singleShot(delay, Qt::PreciseTimer, context, std::move(task));
}

void async(std::function<void()> task)
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(task), Qt::QueuedConnection);
}

} // namespace MainQueue
