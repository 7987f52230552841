#include "HostileReply.h"

#include <QPointer>
#include <QStringList>
#include <QTcpSocket>
#include <QTimer>

#include <sys/socket.h>

namespace HostileReply {

namespace {

constexpr qint64 kKeepQueued = 256 * 1024; // what is kept waiting in the socket's write buffer
const QByteArray kHead = "HTTP/1.1 200 OK\r\nContent-Type: text/plain; charset=utf-8\r\n";

// Feeds a socket from a generator while the client reads, so an endless reply costs the
// simulator no memory; reports the bytes sent when the client goes away.
class Feeder : public QObject
{
public:
    Feeder(QTcpSocket* socket, std::function<QByteArray()> next, QString what,
        std::function<void(QString)> report)
        : QObject(socket)
        , m_socket(socket)
        , m_next(std::move(next))
        , m_what(std::move(what))
        , m_report(std::move(report))
    {
        connect(socket, &QTcpSocket::bytesWritten, this, &Feeder::fill);
        connect(socket, &QTcpSocket::disconnected, this, &Feeder::finish);
        connect(socket, &QTcpSocket::errorOccurred, this, &Feeder::finish);
        fill();
    }

private:
    void fill()
    {
        while (m_next && m_socket->state() == QAbstractSocket::ConnectedState
            && m_socket->bytesToWrite() < kKeepQueued) {
            const QByteArray piece = m_next();
            if (piece.isEmpty()) { // the generator is done: what is queued still goes out
                m_next = nullptr;
                break;
            }
            m_sent += piece.size();
            m_socket->write(piece);
        }
    }
    void finish()
    {
        if (!m_report)
            return;
        const qint64 unsent = m_socket->bytesToWrite();
        std::exchange(m_report, nullptr)(
            QStringLiteral("%1: %2 bytes sent before the client closed")
                .arg(m_what)
                .arg(m_sent - unsent));
        m_next = nullptr;
    }

    QTcpSocket* m_socket;
    std::function<QByteArray()> m_next;
    QString m_what;
    std::function<void(QString)> m_report;
    qint64 m_sent = 0;
};

void endless(QTcpSocket* socket, QByteArray fill, std::function<void(QString)> report)
{
    if (fill.isEmpty())
        fill = "x";
    QByteArray block;
    while (block.size() < 64 * 1024)
        block += fill;
    // No length and no end: the body runs until the client closes.
    auto head = std::make_shared<QByteArray>(kHead + "Connection: close\r\n\r\n");
    new Feeder(
        socket,
        [head, block] { return head->isEmpty() ? block : std::exchange(*head, QByteArray()); },
        QStringLiteral("endless"), std::move(report));
}

void hugeHeaders(QTcpSocket* socket, qint64 kib, std::function<void(QString)> report)
{
    auto left = std::make_shared<qint64>(kib > 0 ? kib * 1024 : -1);
    auto index = std::make_shared<int>(0);
    auto started = std::make_shared<bool>(false);
    auto done = std::make_shared<bool>(false);
    new Feeder(
        socket,
        [left, index, started, done]() -> QByteArray {
            if (!std::exchange(*started, true))
                return kHead;
            if (*done)
                return {};
            if (*left >= 0 && *left < 1024) {
                *done = true;
                return "Content-Length: 2\r\n\r\nOK";
            }
            QByteArray line = "X-Filler-" + QByteArray::number(++*index) + ": ";
            line += QByteArray(1024 - line.size() - 2, 'h') + "\r\n";
            if (*left > 0)
                *left -= line.size();
            return line;
        },
        QStringLiteral("huge-headers"), std::move(report));
}

void slow(QTcpSocket* socket, QByteArray body, std::function<void(QString)> report)
{
    if (body.isEmpty())
        body = "OK";
    socket->write(kHead + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n");
    auto* timer = new QTimer(socket);
    QObject::connect(
        timer, &QTimer::timeout, socket, [socket, timer, body, report, sent = 0]() mutable {
            if (socket->state() != QAbstractSocket::ConnectedState || sent == body.size()) {
                timer->stop();
                report(QStringLiteral("slow: %1 of %2 body bytes sent").arg(sent).arg(body.size()));
                return;
            }
            socket->write(body.mid(sent++, 1));
        });
    timer->start(1000);
}

void slowHeaders(QTcpSocket* socket, std::function<void(QString)> report)
{
    // A header block that never ends, one short line every 100 ms: far below any size cap.
    socket->write(kHead);
    auto* timer = new QTimer(socket);
    QObject::connect(timer, &QTimer::timeout, socket, [socket, timer, report, sent = 0]() mutable {
        if (socket->state() != QAbstractSocket::ConnectedState) {
            timer->stop();
            report(QStringLiteral("slow-headers: %1 header lines sent").arg(sent));
            return;
        }
        socket->write("X-Slow-" + QByteArray::number(++sent) + ": s\r\n");
    });
    timer->start(100);
}

void resetMidBody(QTcpSocket* socket, std::function<void(QString)> report)
{
    socket->write(kHead + "Content-Length: 1000\r\n\r\n" + QByteArray(100, 'r'));
    socket->flush();
    QTimer::singleShot(200, socket, [socket, report] {
        // A zero linger time makes close() send a reset instead of an orderly end.
        const linger hard {1, 0};
        ::setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        socket->abort();
        report(QStringLiteral("reset-mid-body: reset after 100 of 1000 body bytes"));
    });
}

void garbageStatus(QTcpSocket* socket, std::function<void(QString)> report)
{
    socket->write("\x16\x03\x01 NOT HTTP \xff\xfe status\r\nContent-Length: 2\r\n\r\nOK");
    socket->disconnectFromHost();
    report(QStringLiteral("garbage-status: sent"));
}

} // namespace

std::optional<Setting> parse(const QString& text, QString* error)
{
    static const QStringList modes {QStringLiteral("endless"), QStringLiteral("huge-headers"),
        QStringLiteral("slow"), QStringLiteral("slow-headers"), QStringLiteral("reset-mid-body"),
        QStringLiteral("garbage-status")};
    Setting setting {
        text.section(QLatin1Char(' '), 0, 0), text.section(QLatin1Char(' '), 1).toUtf8()};
    if (!modes.contains(setting.mode)) {
        *error = QStringLiteral("unknown reply: ") + setting.mode;
        return std::nullopt;
    }
    bool ok = true;
    if (setting.mode == QLatin1String("huge-headers") && !setting.argument.isEmpty()
        && (setting.argument.toLongLong(&ok) <= 0 || !ok)) {
        *error = QStringLiteral("not a size in KiB: ") + QString::fromUtf8(setting.argument);
        return std::nullopt;
    }
    return setting;
}

void play(QTcpSocket* socket, const Setting& setting, std::function<void(QString)> report)
{
    if (setting.mode == QLatin1String("endless"))
        endless(socket, setting.argument, std::move(report));
    else if (setting.mode == QLatin1String("huge-headers"))
        hugeHeaders(socket, setting.argument.toLongLong(), std::move(report));
    else if (setting.mode == QLatin1String("slow"))
        slow(socket, setting.argument, std::move(report));
    else if (setting.mode == QLatin1String("slow-headers"))
        slowHeaders(socket, std::move(report));
    else if (setting.mode == QLatin1String("reset-mid-body"))
        resetMidBody(socket, std::move(report));
    else
        garbageStatus(socket, std::move(report));
}

} // namespace HostileReply
