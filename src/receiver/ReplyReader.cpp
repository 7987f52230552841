#include "receiver/ReplyReader.h"

namespace {

// "HTTP/1.1 200 OK": the three digits after the first space; 0 when there are none.
int statusOf(QByteArrayView line)
{
    const qsizetype space = line.indexOf(' ');
    if (space < 0 || line.size() < space + 4)
        return 0;
    int status = 0;
    for (qsizetype i = space + 1; i < space + 4; ++i) {
        const char c = line[i];
        if (c < '0' || c > '9')
            return 0;
        status = status * 10 + (c - '0');
    }
    return status;
}

} // namespace

bool ReplyReader::takeHeaderLine(QByteArrayView line)
{
    if (m_headerBlockTooLarge)
        return false;
    // Every header block of the reply counts: a stream of interim answers is bounded too.
    m_headerBytes += line.size();
    if (m_headerBytes > ReplyLimits::maxHeaderBytes) {
        m_headerBlockTooLarge = true;
        return false;
    }
    const QByteArrayView text = line.trimmed();
    if (text.isEmpty())
        return true; // the end of a block
    if (line.startsWith("HTTP/")) {
        m_status = statusOf(text);
        m_headers.clear();
        return true;
    }
    if (line.front() == ' ' || line.front() == '\t') { // a folded line continues the last value
        if (!m_headers.isEmpty())
            m_headers.last().second += ' ' + text.toByteArray();
        return true;
    }
    const qsizetype colon = text.indexOf(':');
    if (colon <= 0)
        return true; // not a header line: nothing to keep
    addHeader(
        text.first(colon).trimmed().toByteArray(), text.sliced(colon + 1).trimmed().toByteArray());
    return true;
}

void ReplyReader::addHeader(QByteArray name, QByteArray value)
{
    for (qsizetype i = 0; i < m_headers.size(); ++i) {
        if (m_headers[i].first.compare(name, Qt::CaseInsensitive) == 0) {
            value = m_headers.takeAt(i).second + ", " + value;
            break;
        }
    }
    m_headers.append({std::move(name), std::move(value)});
}

std::optional<int> ReplyReader::answer(bool completed) const
{
    if ((completed || m_bodyCut) && !m_headerBlockTooLarge && m_status > 0)
        return m_status;
    return std::nullopt;
}

bool ReplyReader::takeBody(QByteArrayView bytes)
{
    if (m_bodyCut)
        return false;
    const qint64 room = ReplyLimits::maxBodyBytes - m_body.size();
    if (bytes.size() <= room) {
        m_body += bytes;
        return true;
    }
    m_body += bytes.first(room);
    m_body = withoutBrokenTail(std::move(m_body));
    m_bodyCut = true;
    return false;
}

QByteArray ReplyReader::withoutBrokenTail(QByteArray bytes)
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
