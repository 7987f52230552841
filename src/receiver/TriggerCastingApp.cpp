#include "receiver/TriggerCastingApp.h"

#include "platform/FatalError.h"
#include "platform/StdoutLine.h"
#include "receiver/Describe.h"
#include "receiver/ReceiverSession.h"

#include <QJsonDocument>
#include <QJsonObject>

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
    StdoutLine::print(Describe::optional(Describe::bytes(body.size())));

    ReceiverReply* reply
        = ReceiverSession::shared()->post(*url, ReceiverSession::jsonHeaders(), body);
    // The completion holds the object until it has run.
    connect(reply, &ReceiverReply::finished, reply, [reply, self = shared_from_this()] {
        if (!reply->status())
            return;
        StdoutLine::print(Describe::optionalResponse(reply));
        // Invalid sequences become U+FFFD; the status code is not looked at.
        self->m_obtainedDeviceIP = QString::fromUtf8(reply->body());
        emit self->obtainedDeviceIPChanged();
    });
}
