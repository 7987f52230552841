#include "receiver/TriggerCastingApp.h"

#include "platform/FatalError.h"
#include "platform/StdoutLine.h"
#include "receiver/Describe.h"
#include "receiver/ReceiverSession.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>

TriggerCastingApp::TriggerCastingApp(QObject* parent)
    : QObject(parent)
{ }

void TriggerCastingApp::triggerCastService(const std::optional<QString>& selectedDeviceIP)
{
    m_obtainedDeviceIP = selectedDeviceIP;
    if (!selectedDeviceIP)
        fatalError(QStringLiteral("cast trigger without a receiver address"));
    const auto url = ReceiverSession::parseUrl(
        QStringLiteral("http://") + *selectedDeviceIP + QStringLiteral(":5000/ws"));
    if (!url)
        return;

    const QByteArray body
        = QJsonDocument(QJsonObject {{QStringLiteral("key"), QStringLiteral("ACTION_CAST")}})
              .toJson(QJsonDocument::Compact);
    QNetworkRequest request = ReceiverSession::jsonRequest(*url);
    StdoutLine::print(Describe::optional(Describe::bytes(body.size())));

    QNetworkReply* reply = ReceiverSession::shared()->post(request, body);
    // A QObject cannot be kept alive by its reply; if the owner drops it first, the answer is
    // only printed.
    QObject::connect(reply, &QNetworkReply::finished, reply, [reply, self = QPointer(this)] {
        reply->deleteLater();
        if (ReceiverSession::isTransportFailure(reply))
            return;
        StdoutLine::print(Describe::optionalResponse(reply));
        if (!self)
            return;
        // Invalid sequences become U+FFFD; the status code is not looked at.
        self->m_obtainedDeviceIP = QString::fromUtf8(reply->readAll());
        emit self->obtainedDeviceIPChanged();
    });
}
