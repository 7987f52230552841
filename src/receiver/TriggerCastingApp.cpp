#include "receiver/TriggerCastingApp.h"

#include "platform/FatalError.h"
#include "platform/StdoutLine.h"
#include "receiver/BoundedReply.h"
#include "receiver/Describe.h"
#include "receiver/ReceiverSession.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>

std::shared_ptr<TriggerCastingApp> TriggerCastingApp::create()
{
    return std::shared_ptr<TriggerCastingApp>(new TriggerCastingApp);
}

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
    // The completion holds the object until it has run.
    BoundedReply::read(reply,
        [self = shared_from_this()](
            QNetworkReply* finished, std::optional<int> status, const QByteArray& answer) {
            if (!status)
                return;
            StdoutLine::print(Describe::optionalResponse(finished));
            // Invalid sequences become U+FFFD; the status code is not looked at.
            self->m_obtainedDeviceIP = QString::fromUtf8(answer);
            emit self->obtainedDeviceIPChanged();
        });
}
