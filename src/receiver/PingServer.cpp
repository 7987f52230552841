#include "receiver/PingServer.h"

#include "platform/FatalError.h"
#include "platform/StdoutLine.h"
#include "receiver/Describe.h"
#include "receiver/LocalAddress.h"
#include "receiver/ReceiverSession.h"

bool PingServer::readAnswer(const QString& response, std::optional<int> answered,
    const QByteArray& body, bool& success, QString& message)
{
    if (!answered)
        return false;
    StdoutLine::print(response);
    const int status = *answered;
    StdoutLine::print(QStringLiteral("statusCode: %1").arg(status));
    if (status != 200) {
        StdoutLine::print("Ping failed2..");
        success = false;
        return true;
    }
    success = true;
    // The body stays in UTF-8: a long one is checked, printed and searched without copies.
    if (!QByteArrayView(body).isValidUtf8()) {
        StdoutLine::print(
            QStringLiteral("Ping succeeded..") + Describe::optionalText(std::nullopt));
        fatalError(QStringLiteral("the heartbeat answer is not UTF-8 text"));
    }
    // As text, a leading byte order mark is not part of it.
    const QByteArrayView text
        = QByteArrayView(body).startsWith("\xEF\xBB\xBF") ? QByteArrayView(body).sliced(3) : body;
    StdoutLine::print(("Ping succeeded.." + Describe::optionalUtf8Text(text)).constData());
    if (body.contains("CAST_OFF"))
        message = QStringLiteral("CAST_OFF");
    else if (body.contains("Device is busy"))
        message = QStringLiteral("DEVICE_BUSY");
    return true;
}

PingServer::PingServer(QObject* parent)
    : QObject(parent)
{ }

QString PingServer::localWiFiAddress()
{
    return LocalAddress::localWiFiAddress();
}

void PingServer::pingServerHeartbeat(
    const std::optional<QString>& selectedDeviceIP, Handler handler)
{
    const QString localAddress = localWiFiAddress();
    if (localAddress.isEmpty()) {
        handler(false, QString());
        return;
    }
    if (!selectedDeviceIP)
        fatalError(QStringLiteral("heartbeat without a receiver address"));

    const auto url = ReceiverSession::parseUrl(QStringLiteral("http://") + *selectedDeviceIP
        + QStringLiteral(":5000/pingServerWithIP?ip=") + localAddress
        + QStringLiteral("&msg=ping"));
    if (!url)
        return;

    ReceiverReply* reply = ReceiverSession::shared()->get(*url, ReceiverSession::jsonHeaders());
    // The reply holds the handler; this object may be gone by the time it finishes.
    connect(reply, &ReceiverReply::finished, reply, [reply, handler = std::move(handler)] {
        bool success = false;
        QString message;
        const QString response = reply->status() ? Describe::optionalResponse(reply) : QString();
        if (readAnswer(response, reply->status(), reply->body(), success, message))
            handler(success, message);
    });
}
