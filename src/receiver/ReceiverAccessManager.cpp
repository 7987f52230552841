#include "receiver/ReceiverAccessManager.h"

#include "receiver/UploadBodyDevice.h"
#include "receiver/UploadReply.h"

ReceiverAccessManager::ReceiverAccessManager(QObject* parent)
    : QNetworkAccessManager(parent)
{ }

QNetworkReply* ReceiverAccessManager::createRequest(
    Operation op, const QNetworkRequest& request, QIODevice* outgoingData)
{
    const auto* body = qobject_cast<UploadBodyDevice*>(outgoingData);
    if (op == PostOperation && body && request.url().scheme() == QLatin1String("http"))
        return new UploadReply(request, *body, transferTimeout(), this);
    return QNetworkAccessManager::createRequest(op, request, outgoingData);
}
