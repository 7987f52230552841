#include "receiver/ReceiverSession.h"

#include "platform/Logging.h"
#include "receiver/ReceiverAccessManager.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QPointer>

namespace ReceiverSession {

namespace {
QPointer<QNetworkAccessManager> s_manager;
}

QNetworkAccessManager* shared()
{
    if (!s_manager) {
        // Parented to the application so it goes away before the application object does.
        s_manager = new ReceiverAccessManager(QCoreApplication::instance());
        s_manager->setProxy(QNetworkProxy::NoProxy);
        s_manager->setTransferTimeout(kTransferTimeoutMs);
    }
    return s_manager;
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

bool isTransportFailure(const QNetworkReply* reply)
{
    return !httpStatus(reply).has_value();
}

std::optional<int> httpStatus(const QNetworkReply* reply)
{
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid())
        return std::nullopt;
    // An answer that started but broke off (timeout or reset mid-body) is a transport failure.
    // Qt reports some statuses (407) with a proxy error code: those are still answers.
    const auto error = reply->error();
    if (error != QNetworkReply::NoError && error < QNetworkReply::ProxyConnectionRefusedError)
        return std::nullopt;
    return status.toInt();
}

QNetworkRequest jsonRequest(const QUrl& url)
{
    static const QByteArray jsonType = QByteArrayLiteral("application/json; charset=utf-8");
    QNetworkRequest request(url);
    request.setRawHeader("Content-Type", jsonType);
    request.setRawHeader("Accept", jsonType);
    return request;
}

} // namespace ReceiverSession
