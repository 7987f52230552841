#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include <functional>

// One call on an xdg-desktop-portal interface that answers through a Request object: the
// Response signal of the request path (built from our unique bus name and a handle token) is
// subscribed to before the call goes out, so a quick answer is not missed. The handler gets
// the response code (0 granted, 1 cancelled by the user, 2 other) and the results; a failed
// call counts as code 2 with the error text under "error". The request deletes itself.
class PortalRequest final : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<void(uint response, const QVariantMap& results)>;

    // message: the method call; its last argument must be the options map, to which the
    // handle token is added here.
    static void send(QDBusConnection bus, QDBusMessage message, QObject* context, Handler handler);

    // A fresh token for handle_token and session_handle_token options.
    static QString nextToken();

private Q_SLOTS:
    void respond(uint response, const QVariantMap& results);

private:
    PortalRequest(QDBusConnection bus, QObject* context, Handler handler);
    bool subscribe(const QString& path);
    void unsubscribe();
    void finish(uint response, const QVariantMap& results);

    QDBusConnection m_bus;
    Handler m_handler;
    QString m_path;
    bool m_finished = false;
};
