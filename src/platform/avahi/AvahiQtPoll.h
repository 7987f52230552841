#pragma once

#include <avahi-common/watch.h>

// An AvahiPoll that runs Avahi's watches and timeouts on the Qt event loop of the thread that
// made it (QSocketNotifier and QTimer), so Avahi callbacks arrive on that thread.
class AvahiQtPoll
{
public:
    AvahiQtPoll();
    AvahiQtPoll(const AvahiQtPoll&) = delete;
    AvahiQtPoll& operator=(const AvahiQtPoll&) = delete;

    const AvahiPoll* poll() const { return &m_poll; }

private:
    AvahiPoll m_poll {};
};
