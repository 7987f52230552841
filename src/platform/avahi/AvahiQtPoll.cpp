#include "AvahiQtPoll.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <sys/time.h>

#include <avahi-common/timeval.h>

// Avahi declares these opaque; the poll adapter gives them their body. A freed watch or
// timeout may be the one whose callback is running, so it is deleted later, never at once.
struct AvahiWatch : QObject
{
    AvahiWatchCallback callback = nullptr;
    void* userdata = nullptr;
    int fd = -1;
    AvahiWatchEvent lastEvents = static_cast<AvahiWatchEvent>(0);
    QSocketNotifier* reader = nullptr;
    QSocketNotifier* writer = nullptr;

    void setEvents(AvahiWatchEvent events)
    {
        reader->setEnabled(events & AVAHI_WATCH_IN);
        writer->setEnabled(events & AVAHI_WATCH_OUT);
    }

    void fire(AvahiWatchEvent event)
    {
        if (!callback)
            return;
        lastEvents = event;
        callback(this, fd, event, userdata);
        lastEvents = static_cast<AvahiWatchEvent>(0);
    }
};

struct AvahiTimeout : QObject
{
    AvahiTimeoutCallback callback = nullptr;
    void* userdata = nullptr;
    QTimer timer;

    void arm(const struct timeval* tv)
    {
        if (!tv) {
            timer.stop();
            return;
        }
        struct timeval now
        {
        };
        gettimeofday(&now, nullptr);
        const AvahiUsec usec = avahi_timeval_diff(tv, &now);
        timer.start(usec > 0 ? static_cast<int>((usec + 999) / 1000) : 0);
    }
};

namespace {

AvahiWatch* watchNew(
    const AvahiPoll*, int fd, AvahiWatchEvent events, AvahiWatchCallback callback, void* userdata)
{
    auto* watch = new AvahiWatch;
    watch->callback = callback;
    watch->userdata = userdata;
    watch->fd = fd;
    watch->reader = new QSocketNotifier(fd, QSocketNotifier::Read, watch);
    watch->writer = new QSocketNotifier(fd, QSocketNotifier::Write, watch);
    QObject::connect(watch->reader, &QSocketNotifier::activated, watch,
        [watch] { watch->fire(AVAHI_WATCH_IN); });
    QObject::connect(watch->writer, &QSocketNotifier::activated, watch,
        [watch] { watch->fire(AVAHI_WATCH_OUT); });
    watch->setEvents(events);
    return watch;
}

void watchUpdate(AvahiWatch* watch, AvahiWatchEvent events)
{
    watch->setEvents(events);
}

AvahiWatchEvent watchGetEvents(AvahiWatch* watch)
{
    return watch->lastEvents;
}

void watchFree(AvahiWatch* watch)
{
    watch->callback = nullptr;
    watch->reader->setEnabled(false);
    watch->writer->setEnabled(false);
    watch->deleteLater();
}

AvahiTimeout* timeoutNew(
    const AvahiPoll*, const struct timeval* tv, AvahiTimeoutCallback callback, void* userdata)
{
    auto* timeout = new AvahiTimeout;
    timeout->callback = callback;
    timeout->userdata = userdata;
    timeout->timer.setSingleShot(true);
    QObject::connect(&timeout->timer, &QTimer::timeout, timeout, [timeout] {
        if (timeout->callback)
            timeout->callback(timeout, timeout->userdata);
    });
    timeout->arm(tv);
    return timeout;
}

void timeoutUpdate(AvahiTimeout* timeout, const struct timeval* tv)
{
    timeout->arm(tv);
}

void timeoutFree(AvahiTimeout* timeout)
{
    timeout->callback = nullptr;
    timeout->timer.stop();
    timeout->deleteLater();
}

} // namespace

AvahiQtPoll::AvahiQtPoll()
{
    m_poll.userdata = this;
    m_poll.watch_new = watchNew;
    m_poll.watch_update = watchUpdate;
    m_poll.watch_get_events = watchGetEvents;
    m_poll.watch_free = watchFree;
    m_poll.timeout_new = timeoutNew;
    m_poll.timeout_update = timeoutUpdate;
    m_poll.timeout_free = timeoutFree;
}
