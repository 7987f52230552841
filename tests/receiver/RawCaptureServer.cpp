#include "RawCaptureServer.h"

#include <QTcpSocket>

RawCaptureServer::RawCaptureServer(QObject* parent)
    : QTcpServer(parent)
{
    connect(this, &QTcpServer::newConnection, this, &RawCaptureServer::onConnection);
}

QByteArray RawCaptureServer::head(const QByteArray& raw)
{
    return raw.left(raw.indexOf("\r\n\r\n"));
}

QByteArray RawCaptureServer::body(const QByteArray& raw)
{
    return raw.mid(raw.indexOf("\r\n\r\n") + 4);
}

QList<QByteArray> RawCaptureServer::headerLines(const QByteArray& raw)
{
    QList<QByteArray> lines = head(raw).split('\n');
    for (QByteArray& line : lines)
        if (line.endsWith('\r'))
            line.chop(1);
    return lines.mid(1);
}

void RawCaptureServer::onConnection()
{
    while (QTcpSocket* socket = nextPendingConnection()) {
        socket->setParent(this);
        auto buffer = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::readyRead, socket, [this, socket, buffer] {
            *buffer += socket->readAll();
            const qsizetype end = buffer->indexOf("\r\n\r\n");
            if (end < 0)
                return;
            qint64 length = 0;
            for (const QByteArray& line : headerLines(*buffer))
                if (line.toLower().startsWith("content-length:"))
                    length = line.mid(15).trimmed().toLongLong();
            if (buffer->size() < end + 4 + length)
                return;
            m_requests << buffer->left(end + 4 + length);
            buffer->remove(0, end + 4 + length);
            socket->write("HTTP/1.1 " + QByteArray::number(m_status) + " X\r\nContent-Length: "
                + QByteArray::number(m_body.size()) + "\r\n\r\n" + m_body);
        });
    }
}
