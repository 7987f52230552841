#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QTcpServer>

// Records the raw bytes of each request that arrives and answers it with a fixed status. A
// request ends when its head and as many body bytes as its Content-Length says have arrived.
class RawCaptureServer : public QTcpServer
{
    Q_OBJECT
public:
    explicit RawCaptureServer(QObject* parent = nullptr);

    bool listenOn(const QString& address, quint16 port)
    {
        return listen(QHostAddress(address), port);
    }
    void setAnswer(int status, const QByteArray& body)
    {
        m_status = status;
        m_body = body;
    }
    const QList<QByteArray>& requests() const { return m_requests; }

    // Splits a raw request into head (without the blank line) and body.
    static QByteArray head(const QByteArray& raw);
    static QByteArray body(const QByteArray& raw);
    static QList<QByteArray> headerLines(const QByteArray& raw);

private:
    void onConnection();

    int m_status = 200;
    QByteArray m_body = "OK";
    QList<QByteArray> m_requests;
};
