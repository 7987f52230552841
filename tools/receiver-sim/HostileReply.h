#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

class QTcpSocket;

// Replies that no real receiver gives, for trying how a client copes with them:
//   endless [FILL]       200 with a body of FILL (default "x") repeated until the client closes
//   huge-headers [KIB]   200 whose header block runs on for KIB KiB (default without end)
//   slow [BODY]          200 whose body (default "OK") comes one byte per second
//   slow-headers         200 whose header block never ends: one short line every 100 ms
//   reset-mid-body       200 announcing 1000 bytes of body; after 100 the connection is reset
//   garbage-status       a status line that is not HTTP, then the connection is closed
namespace HostileReply {

struct Setting
{
    QString mode;
    QByteArray argument;
};

// Parses "MODE [ARG]"; gives nothing (and an error text) when MODE is not one of the above.
std::optional<Setting> parse(const QString& text, QString* error);

// Takes over the socket of a request that has been read and plays the reply on it. report gets
// one line when the reply has ended, saying how many bytes went out before the client closed.
void play(QTcpSocket* socket, const Setting& setting, std::function<void(QString)> report);

} // namespace HostileReply
