#include "receiver/HttpAnswerReader.h"

#include "receiver/ReplyLimits.h"

#include <QRegularExpression>

namespace {

const QByteArray kLf = QByteArrayLiteral("\n");

// The end of the header block: the first empty line (CRLF or bare LF line ends).
qsizetype headEnd(const QByteArray& block, qsizetype* length)
{
    for (qsizetype i = block.indexOf('\n'); i >= 0; i = block.indexOf('\n', i + 1)) {
        if (block.mid(i + 1, 2) == "\r\n") {
            *length = i + 3;
            return i;
        }
        if (block.mid(i + 1, 1) == kLf) {
            *length = i + 2;
            return i;
        }
    }
    return -1;
}

QByteArray headerValue(const QList<HttpAnswerReader::Header>& headers, const char* name)
{
    QByteArray value;
    for (const auto& [key, text] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            value += (value.isEmpty() ? "" : ", ") + text;
    }
    return value;
}

} // namespace

void HttpAnswerReader::feed(const char* data, qint64 size)
{
    while (size > 0 && (m_state == State::Head || m_state == State::Body)) {
        const qint64 used = m_state == State::Head ? feedHead(data, size) : feedBody(data, size);
        data += used;
        size -= used;
    }
}

void HttpAnswerReader::endOfStream()
{
    if (m_state == State::Body && m_framing == Framing::UntilClose)
        m_state = State::Done;
    else if (m_state == State::Head || m_state == State::Body)
        fail(QStringLiteral("the connection closed before the answer was complete"));
}

qint64 HttpAnswerReader::feedHead(const char* data, qint64 size)
{
    // Look again only at what could hold the empty line: the tail of the old bytes and the new.
    const qint64 room = ReplyLimits::maxHeaderBytes + 4 - m_pending.size();
    const qint64 taken = qMin(size, room);
    m_pending.append(data, taken);
    qsizetype blockLength = 0;
    const qsizetype end = headEnd(m_pending, &blockLength);
    if (end < 0 || end > ReplyLimits::maxHeaderBytes) {
        if (m_pending.size() > ReplyLimits::maxHeaderBytes)
            fail(QStringLiteral("the answer's header block is longer than %1 bytes")
                     .arg(ReplyLimits::maxHeaderBytes));
        return taken;
    }
    const qint64 rest = m_pending.size() - blockLength; // body bytes taken along
    const QByteArray block = m_pending.left(end);
    m_pending.clear();
    if (!parseHead(block))
        return taken;
    if (m_status >= 100 && m_status < 200 && m_status != 101) {
        m_headers.clear(); // an interim answer; the real one follows
        return taken - rest;
    }
    startBody();
    return taken - rest;
}

bool HttpAnswerReader::parseHead(const QByteArray& block)
{
    const QList<QByteArray> lines = block.split('\n');
    static const QRegularExpression statusLine(QStringLiteral("^HTTP/1\\.\\d (\\d{3})(?: (.*))?$"));
    const auto match = statusLine.match(QString::fromLatin1(lines.first().trimmed()));
    if (!match.hasMatch()) {
        fail(QStringLiteral("the answer does not start with an HTTP/1 status line"));
        return false;
    }
    m_status = match.captured(1).toInt();
    m_reason = match.captured(2).toLatin1();
    m_headers.clear();
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines[i].endsWith('\r') ? lines[i].chopped(1) : lines[i];
        if ((line.startsWith(' ') || line.startsWith('\t')) && !m_headers.isEmpty()) {
            m_headers.last().second += ' ' + line.trimmed(); // a folded continuation
            continue;
        }
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            m_headers.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
    }
    return true;
}

void HttpAnswerReader::startBody()
{
    m_state = State::Body;
    if (m_status == 204 || m_status == 304 || m_status == 101) {
        m_state = State::Done;
        return;
    }
    if (headerValue(m_headers, "Transfer-Encoding").toLower().contains("chunked")) {
        m_framing = Framing::Chunked;
        m_chunkStage = ChunkStage::Size;
        return;
    }
    const QByteArray length = headerValue(m_headers, "Content-Length");
    if (length.isEmpty()) {
        m_framing = Framing::UntilClose;
        return;
    }
    bool ok = false;
    m_remaining = length.toLongLong(&ok);
    if (!ok || m_remaining < 0) {
        fail(QStringLiteral("the answer's Content-Length does not parse"));
        return;
    }
    m_framing = Framing::Length;
    if (m_remaining == 0)
        m_state = State::Done;
}

qint64 HttpAnswerReader::feedBody(const char* data, qint64 size)
{
    if (m_framing == Framing::Chunked)
        return feedChunked(data, size);
    const qint64 count = m_framing == Framing::Length ? qMin(size, m_remaining) : size;
    countBody(count);
    if (m_framing == Framing::Length) {
        m_remaining -= count;
        if (m_remaining == 0 && m_state == State::Body)
            m_state = State::Done;
    }
    return count;
}

qint64 HttpAnswerReader::feedChunked(const char* data, qint64 size)
{
    qint64 used = 0;
    QByteArray line;
    switch (m_chunkStage) {
    case ChunkStage::Size: {
        if (!takeLine(data, size, &used, &line))
            return used;
        bool ok = false;
        m_remaining = line.split(';').first().trimmed().toLongLong(&ok, 16);
        if (!ok || m_remaining < 0)
            fail(QStringLiteral("a chunk size of the answer does not parse"));
        m_chunkStage = m_remaining == 0 ? ChunkStage::Trailer : ChunkStage::Data;
        return used;
    }
    case ChunkStage::Data:
        used = qMin(size, m_remaining);
        countBody(used);
        m_remaining -= used;
        if (m_remaining == 0)
            m_chunkStage = ChunkStage::DataEnd;
        return used;
    case ChunkStage::DataEnd:
        if (takeLine(data, size, &used, &line))
            m_chunkStage = ChunkStage::Size;
        return used;
    case ChunkStage::Trailer:
        if (takeLine(data, size, &used, &line) && line.isEmpty())
            m_state = State::Done;
        return used;
    }
    return size;
}

// One line of the chunk framing (without its line end), gathered over several feeds if need be.
bool HttpAnswerReader::takeLine(const char* data, qint64 size, qint64* used, QByteArray* line)
{
    const char* end = static_cast<const char*>(memchr(data, '\n', size));
    *used = end ? end - data + 1 : size;
    m_pending.append(data, *used);
    if (m_pending.size() > ReplyLimits::maxHeaderBytes) {
        fail(QStringLiteral("a chunk line of the answer is too long"));
        return false;
    }
    if (!end)
        return false;
    *line = m_pending.trimmed();
    m_pending.clear();
    return true;
}

void HttpAnswerReader::countBody(qint64 count)
{
    m_bodyBytes += count;
    if (m_bodyBytes > ReplyLimits::maxBodyBytes) {
        m_bodyCapped = true;
        m_state = State::Done;
    }
}

void HttpAnswerReader::fail(const QString& reason)
{
    m_state = State::Failed;
    m_failure = reason;
}
