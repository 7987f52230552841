#pragma once

#include <QNetworkAccessManager>

// The receiver requests' HTTP client: Qt's own, except that an upload (a POST whose body is an
// UploadBodyDevice) is sent by an UploadReply of ours, which feeds the socket in large steps
// from a thread of its own. Its reply still reports through this manager's finished().
class ReceiverAccessManager : public QNetworkAccessManager
{
    Q_OBJECT
public:
    explicit ReceiverAccessManager(QObject* parent = nullptr);

protected:
    QNetworkReply* createRequest(
        Operation op, const QNetworkRequest& request, QIODevice* outgoingData) override;
};
