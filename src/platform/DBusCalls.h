#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QObject>

#include <utility>

namespace DBusCalls {

// Sends a method call without waiting and hands its reply (or error) message to onReply on
// context's thread; nothing happens when context is gone by then.
template<typename OnReply>
void call(QDBusConnection bus, const QDBusMessage& message, QObject* context, OnReply onReply,
    int timeoutMs = -1)
{
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(message, timeoutMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
        [watcher, onReply = std::move(onReply)] {
            watcher->deleteLater();
            onReply(watcher->reply());
        });
}

inline bool failed(const QDBusMessage& reply)
{
    return reply.type() != QDBusMessage::ReplyMessage;
}

} // namespace DBusCalls
