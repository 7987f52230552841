#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QJsonObject>
#include <QList>
#include <QPair>

// One request as it arrived: the request line, the headers in their order, and what the body
// turned out to be (kept in memory for small bodies, streamed elsewhere for uploads).
struct HttpRequest
{
    QByteArray method;
    QByteArray target; // path and query, as sent
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body; // small bodies only
    qint64 bodyLength = 0; // bytes of body received
    QByteArray bodySha256; // hex
    QHostAddress peer;
    quint16 localPort = 0;
    QJsonObject upload; // the multipart check of an upload, when there was one

    QByteArray path() const
    {
        return target.left(target.indexOf('?') < 0 ? target.size() : target.indexOf('?'));
    }
    QByteArray query() const
    {
        return target.indexOf('?') < 0 ? QByteArray() : target.mid(target.indexOf('?') + 1);
    }
    QByteArray header(const QByteArray& name) const
    {
        for (const auto& [n, v] : headers)
            if (n.compare(name, Qt::CaseInsensitive) == 0)
                return v;
        return {};
    }
};
