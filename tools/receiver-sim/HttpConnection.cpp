#include "HttpConnection.h"

#include "MultipartReceiver.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>

namespace {
constexpr qsizetype kMaxHead = 64 * 1024;
constexpr qint64 kMaxInMemoryBody = 16 * 1024 * 1024;
constexpr qint64 kReadChunk = 1024 * 1024;

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 404:
        return "Not Found";
    case 413:
        return "Payload Too Large";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}
} // namespace

HttpConnection::HttpConnection(QTcpSocket* socket, QString uploadDir, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_uploadDir(std::move(uploadDir))
{
    m_socket->setParent(this);
    connect(m_socket, &QTcpSocket::readyRead, this, &HttpConnection::onReadyRead);
    connect(m_socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
}

HttpConnection::~HttpConnection() = default;

void HttpConnection::onReadyRead()
{
    while (!m_awaitingAnswer) {
        if (!m_inBody) {
            if (m_buffer.size() < kMaxHead)
                m_buffer += m_socket->read(kMaxHead);
            if (!parseHead())
                return;
        }
        readBody();
        if (m_inBody)
            return;
        completeRequest();
    }
}

bool HttpConnection::parseHead()
{
    const qsizetype end = m_buffer.indexOf("\r\n\r\n");
    if (end < 0) {
        if (m_buffer.size() >= kMaxHead)
            reject(QStringLiteral("request head too long"));
        return false;
    }
    const QList<QByteArray> lines = m_buffer.left(end).split('\n');
    m_buffer.remove(0, end + 4);
    m_request = HttpRequest {};
    m_request.peer = m_socket->peerAddress();
    m_request.localPort = m_socket->localPort();
    const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
    if (requestLine.size() != 3 || !requestLine[2].startsWith("HTTP/1.")) {
        reject(QStringLiteral("bad request line"));
        return false;
    }
    m_request.method = requestLine[0];
    m_request.target = requestLine[1];
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines[i].endsWith('\r') ? lines[i].chopped(1) : lines[i];
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) {
            reject(QStringLiteral("bad header line"));
            return false;
        }
        m_request.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    }
    if (!m_request.header("Transfer-Encoding").isEmpty()) {
        reject(QStringLiteral("Transfer-Encoding is not supported"));
        return false;
    }
    bool ok = true;
    const QByteArray length = m_request.header("Content-Length");
    m_remaining = length.isEmpty() ? 0 : length.toLongLong(&ok);
    if (!ok || m_remaining < 0) {
        reject(QStringLiteral("bad Content-Length"));
        return false;
    }
    m_bodyHash.reset();
    m_multipart.reset();
    static const QRegularExpression boundary(QStringLiteral("boundary=([^;\\s]+)"));
    const auto match = boundary.match(QString::fromLatin1(m_request.header("Content-Type")));
    if (m_request.path() == "/uploadfile" && match.hasMatch()) {
        m_multipart
            = std::make_unique<MultipartReceiver>(match.captured(1).toLatin1(), m_uploadDir);
        m_rateClock.start(); // the upload rate counts from the body's start
        m_ratedBytes = 0;
    } else if (m_remaining > kMaxInMemoryBody) {
        reject(QStringLiteral("body too large for a control request"));
        return false;
    }
    // Clients such as curl wait for this before sending a large body.
    if (m_request.header("Expect").compare("100-continue", Qt::CaseInsensitive) == 0)
        m_socket->write("HTTP/1.1 100 Continue\r\n\r\n");
    m_inBody = true;
    return true;
}

void HttpConnection::readBody()
{
    auto take = [this](const char* data, qint64 size) {
        m_bodyHash.addData(data, size);
        m_request.bodyLength += size;
        m_remaining -= size;
        if (m_multipart)
            m_multipart->feed(data, size);
        else
            m_request.body.append(data, size);
    };
    if (!m_buffer.isEmpty()) {
        const qint64 n = qMin<qint64>(m_remaining, m_buffer.size());
        take(m_buffer.constData(), n);
        m_buffer.remove(0, n);
    }
    if (m_chunk.isEmpty())
        m_chunk.resize(kReadChunk);
    while (m_remaining > 0 && m_socket->bytesAvailable() > 0) {
        const qint64 allowed = qMin(m_remaining, qMin(kReadChunk, rateAllowance()));
        if (allowed <= 0)
            break;
        const qint64 n = m_socket->read(m_chunk.data(), allowed);
        if (n <= 0)
            break;
        m_ratedBytes += n;
        take(m_chunk.constData(), n);
    }
    if (m_remaining == 0)
        m_inBody = false;
}

void HttpConnection::setUploadRate(qint64 bytesPerSecond)
{
    m_uploadRate = bytesPerSecond;
    // A bounded read buffer, as a receiver has: the sender waits through TCP instead of the
    // buffer growing (which made the first upload after start the slowest); a small one when
    // reading slowly, so that the sender slows down too.
    m_socket->setReadBufferSize(bytesPerSecond > 0 ? 16 * 1024 : 2 * kReadChunk);
    m_rateClock.start();
    m_ratedBytes = 0;
}

// Body bytes that may be read now under the upload rate; when none, reading resumes shortly.
qint64 HttpConnection::rateAllowance()
{
    if (m_uploadRate <= 0 || !m_multipart)
        return kReadChunk;
    const qint64 allowed = m_uploadRate * m_rateClock.elapsed() / 1000 - m_ratedBytes;
    if (allowed <= 0)
        QTimer::singleShot(10, this, &HttpConnection::onReadyRead);
    return allowed;
}

void HttpConnection::completeRequest()
{
    m_request.bodySha256 = m_bodyHash.hexResult();
    if (m_multipart) {
        m_request.upload = m_multipart->finish();
        m_multipart.reset();
    }
    m_awaitingAnswer = true;
    emit requestReceived(m_request);
}

void HttpConnection::respond(int status, const QByteArray& body)
{
    if (!m_awaitingAnswer)
        return;
    m_awaitingAnswer = false;
    QByteArray head
        = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonPhrase(status) + "\r\n";
    head += "Content-Type: text/plain; charset=utf-8\r\n";
    head += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n";
    m_socket->write(head + body);
    // More requests may already be waiting on this connection.
    if (!m_buffer.isEmpty() || m_socket->bytesAvailable() > 0)
        QMetaObject::invokeMethod(this, &HttpConnection::onReadyRead, Qt::QueuedConnection);
}

void HttpConnection::reject(const QString& reason)
{
    emit malformed(reason, m_socket->peerAddress());
    m_socket->write("HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    m_socket->disconnectFromHost();
    m_awaitingAnswer = true; // read nothing more
}
