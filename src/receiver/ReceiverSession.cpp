#include "receiver/ReceiverSession.h"

#include "platform/Logging.h"

#include <QCoreApplication>
#include <QPointer>

namespace ReceiverSession {

namespace {
QPointer<ReceiverHttpClient> s_client;
}

ReceiverHttpClient* shared()
{
    if (!s_client) {
        // Parented to the application so it goes away before the application object does.
        s_client = new ReceiverHttpClient(QCoreApplication::instance());
        s_client->setTransferTimeout(kTransferTimeoutMs);
    }
    return s_client;
}

void setTransferTimeoutForTesting(int ms)
{
    shared()->setTransferTimeout(ms > 0 ? ms : kTransferTimeoutMs);
}

std::optional<QUrl> parseUrl(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || url.toString(QUrl::FullyEncoded) != text) {
        qCDebug(lcReceiver, "URL text does not parse: %s", qUtf8Printable(text));
        return std::nullopt;
    }
    return url;
}

QList<ReceiverHttpClient::Header> jsonHeaders()
{
    static const QByteArray jsonType = QByteArrayLiteral("application/json; charset=utf-8");
    return {{"Content-Type", jsonType}, {"Accept", jsonType}};
}

} // namespace ReceiverSession
