#include "PortalRequest.h"

#include "platform/DBusCalls.h"

#include <QDBusObjectPath>

namespace {
const QString kRequestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
constexpr uint kOtherError = 2;
} // namespace

PortalRequest::PortalRequest(QDBusConnection bus, QObject* context, Handler handler)
    : QObject(context)
    , m_bus(std::move(bus))
    , m_handler(std::move(handler))
{ }

QString PortalRequest::nextToken()
{
    static uint counter = 0;
    return QStringLiteral("orventa%1").arg(++counter);
}

void PortalRequest::send(
    QDBusConnection bus, QDBusMessage message, QObject* context, Handler handler)
{
    auto* request = new PortalRequest(bus, context, std::move(handler));
    const QString token = nextToken();
    // The request path the portal will use: our unique name without ':' and with '.' as '_'.
    const QString sender = bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    request->subscribe(
        QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token));

    QList<QVariant> arguments = message.arguments();
    QVariantMap options = arguments.takeLast().toMap();
    options.insert(QStringLiteral("handle_token"), token);
    arguments.append(options);
    message.setArguments(arguments);
    DBusCalls::call(bus, message, request, [request](const QDBusMessage& reply) {
        if (DBusCalls::failed(reply))
            return request->finish(kOtherError,
                {{QStringLiteral("error"),
                    reply.errorName() + QLatin1String(": ") + reply.errorMessage()}});
        // Older portals may answer on another path than the one asked for.
        const QString path = reply.arguments().value(0).value<QDBusObjectPath>().path();
        if (!request->m_finished && !path.isEmpty() && path != request->m_path) {
            request->unsubscribe();
            request->subscribe(path);
        }
    });
}

bool PortalRequest::subscribe(const QString& path)
{
    m_path = path;
    return m_bus.connect(kPortalService, path, kRequestInterface, QStringLiteral("Response"), this,
        SLOT(respond(uint, QVariantMap)));
}

void PortalRequest::unsubscribe()
{
    m_bus.disconnect(kPortalService, m_path, kRequestInterface, QStringLiteral("Response"), this,
        SLOT(respond(uint, QVariantMap)));
}

void PortalRequest::respond(uint response, const QVariantMap& results)
{
    finish(response, results);
}

void PortalRequest::finish(uint response, const QVariantMap& results)
{
    if (m_finished)
        return;
    m_finished = true;
    unsubscribe();
    deleteLater();
    m_handler(response, results);
}
