#include "receiver/BoundedReply.h"

#include "platform/Logging.h"
#include "receiver/ConnectionShutdown.h"
#include "receiver/ReceiverSession.h"
#include "receiver/ReplyLimits.h"

#include <QHostAddress>
#include <QNetworkReply>
#include <QTimer>

#include <utility>

namespace {
// What the network layer may hold ahead of us: small, so a flood stays in the socket.
constexpr qint64 kReadAhead = 64 * 1024;
int s_headerDeadlineMs = BoundedReply::kHeaderDeadlineMs;

qint64 headerBlockSize(const QNetworkReply* reply)
{
    // The status line is not kept by Qt; its reason phrase is, and the rest is a few bytes.
    qint64 size = reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toByteArray().size()
        + qint64(sizeof "HTTP/1.1 200 \r\n\r\n");
    for (const auto& [name, value] : reply->rawHeaderPairs())
        size += name.size() + value.size() + 4; // ": " and CRLF
    return size;
}
} // namespace

void BoundedReply::setHeaderDeadlineForTesting(int ms)
{
    s_headerDeadlineMs = ms > 0 ? ms : kHeaderDeadlineMs;
}

void BoundedReply::read(QNetworkReply* reply, Done done)
{
    new BoundedReply(reply, std::move(done)); // a child of the reply, gone with it
}

BoundedReply::BoundedReply(QNetworkReply* reply, Done done)
    : QObject(reply)
    , m_reply(reply)
    , m_done(std::move(done))
{
    reply->setReadBufferSize(kReadAhead);
    m_body.reserve(kReadAhead);
    connect(reply, &QNetworkReply::metaDataChanged, this, &BoundedReply::onMetaData);
    connect(reply, &QNetworkReply::readyRead, this, &BoundedReply::onReadyRead);
    connect(reply, &QNetworkReply::finished, this, &BoundedReply::onFinished);
    connect(reply, &QNetworkReply::requestSent, this,
        [this] { QTimer::singleShot(s_headerDeadlineMs, this, &BoundedReply::onHeaderDeadline); });
}

void BoundedReply::onMetaData()
{
    m_headersSeen = true;
    if (!m_headersTooLarge && headerBlockSize(m_reply) > ReplyLimits::maxHeaderBytes)
        dropForHeaders(
            qPrintable(QStringLiteral("is over %1 bytes").arg(ReplyLimits::maxHeaderBytes)));
}

void BoundedReply::onHeaderDeadline()
{
    if (!m_headersSeen && !m_headersTooLarge && m_done)
        dropForHeaders(
            qPrintable(QStringLiteral("has not ended within %1 ms").arg(s_headerDeadlineMs)));
}

void BoundedReply::dropForHeaders(const char* why)
{
    m_headersTooLarge = true;
    qCWarning(lcReceiver, "Reply from %s dropped: its header block %s",
        qUtf8Printable(m_reply->url().toString()), why);
    m_reply->abort();
    closeConnection();
}

void BoundedReply::onReadyRead()
{
    if (m_cut || m_headersTooLarge)
        return;
    const qint64 room = ReplyLimits::maxBodyBytes - m_body.size();
    if (room > 0)
        m_body += m_reply->read(room);
    if (m_body.size() >= ReplyLimits::maxBodyBytes && m_reply->bytesAvailable() > 0)
        cut();
}

void BoundedReply::cut()
{
    m_cut = true;
    qCWarning(lcReceiver,
        "Reply from %s cut at %lld bytes of body: the rest is dropped and the connection closed",
        qUtf8Printable(m_reply->url().toString()), qlonglong(ReplyLimits::maxBodyBytes));
    m_body = withoutBrokenTail(std::move(m_body));
    m_reply->abort(); // finishes the reply, with what was read as its answer
    closeConnection();
}

void BoundedReply::closeConnection()
{
    // Qt 6.4's HTTP thread reads on while the receiver keeps sending (a header block byte by
    // byte), and only then gets to the abort: that thread, and every later request, could wait
    // on it for good. The connection is shut down under it; the reset ends its read. Other
    // connections to the same receiver go too: it is sending what no receiver sends.
    const QUrl url = m_reply->url();
    const QHostAddress address(url.host());
    if (!address.isNull())
        ConnectionShutdown::shutdownConnectionsTo(address, quint16(url.port(80)));
}

void BoundedReply::onFinished()
{
    // Taken first: cutting below finishes the reply again, re-entering here.
    const Done done = std::exchange(m_done, nullptr);
    if (!done)
        return;
    m_reply->deleteLater();
    if (!m_cut && !m_headersTooLarge)
        onReadyRead(); // the last bytes may come with the end
    std::optional<int> status;
    if (m_cut)
        status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    else if (!m_headersTooLarge)
        status = ReceiverSession::httpStatus(m_reply);
    done(m_reply, status, status ? m_body : QByteArray());
}

QByteArray BoundedReply::withoutBrokenTail(QByteArray bytes)
{
    // Walk back over at most three continuation bytes to the start of the last sequence.
    qsizetype start = bytes.size();
    for (int back = 0; back < 4 && start > 0; ++back) {
        const auto byte = uchar(bytes[--start]);
        if ((byte & 0xC0) != 0x80) {
            const int length = byte < 0x80 ? 1 : byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
            if (bytes.size() - start < length)
                bytes.truncate(start);
            break;
        }
    }
    return bytes;
}
