#pragma once

#include "HttpRequest.h"
#include "Sha256.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>

#include <memory>

class QTcpSocket;
class MultipartReceiver;

// One client connection: a minimal HTTP/1.1 request parser (Content-Length bodies, keep-alive).
// Upload bodies are streamed through a MultipartReceiver; other bodies are kept in memory.
class HttpConnection : public QObject
{
    Q_OBJECT
public:
    HttpConnection(QTcpSocket* socket, QString uploadDir, QObject* parent = nullptr);
    ~HttpConnection() override;

    // Answers the request last reported by requestReceived.
    void respond(int status, const QByteArray& body);
    // The connection's socket, for a reply written by someone else; nothing more is read.
    QTcpSocket* socket() const { return m_socket; }
    // Test-only: reads upload bodies at no more than this many bytes a second (0: no limit).
    // Upload connections get this call (0 by default), which also bounds their read buffer.
    void setUploadRate(qint64 bytesPerSecond);

signals:
    void requestReceived(const HttpRequest& request);
    // A request the parser could not read; the connection is answered 400 and closed.
    void malformed(const QString& reason, const QHostAddress& peer);

private:
    void onReadyRead();
    bool parseHead();
    void readBody();
    qint64 rateAllowance();
    void completeRequest();
    void reject(const QString& reason);

    QTcpSocket* m_socket;
    QString m_uploadDir;
    QByteArray m_buffer;
    bool m_inBody = false;
    bool m_awaitingAnswer = false;
    qint64 m_remaining = 0;
    HttpRequest m_request;
    Sha256 m_bodyHash;
    QByteArray m_chunk;
    std::unique_ptr<MultipartReceiver> m_multipart;
    qint64 m_uploadRate = 0;
    QElapsedTimer m_rateClock;
    qint64 m_ratedBytes = 0;
};
