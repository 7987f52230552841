#include "MultipartReceiver.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace {
constexpr qint64 kMaxPartHeaders = 64 * 1024;
}

MultipartReceiver::MultipartReceiver(QByteArray boundary, QString uploadDir)
    : m_boundary(std::move(boundary))
    , m_uploadDir(std::move(uploadDir))
    , m_closing("\r\n--" + m_boundary + "--\r\n")
{ }

void MultipartReceiver::fail(const QString& reason)
{
    if (m_stage == Stage::Failed)
        return;
    m_stage = Stage::Failed;
    m_error = reason;
    m_pending.clear();
    if (m_file.isOpen()) {
        m_file.close();
        m_file.remove();
    }
}

void MultipartReceiver::feed(const char* data, qint64 size)
{
    if (m_stage == Stage::Content) {
        writeContent(data, size);
        return;
    }
    if (m_stage == Stage::Failed)
        return;
    m_pending.append(data, size);
    if (m_stage == Stage::Opening) {
        const QByteArray opening = "--" + m_boundary + "\r\n";
        if (m_pending.size() < opening.size())
            return;
        if (!m_pending.startsWith(opening))
            return fail(QStringLiteral("body does not open with the boundary line"));
        m_pending.remove(0, opening.size());
        m_stage = Stage::PartHeaders;
    }
    const qsizetype end = m_pending.indexOf("\r\n\r\n");
    if (end < 0) {
        if (m_pending.size() > kMaxPartHeaders)
            fail(QStringLiteral("part headers too long"));
        return;
    }
    const QByteArray block = m_pending.left(end);
    const QByteArray rest = m_pending.mid(end + 4);
    m_pending.clear();
    parsePartHeaders(block);
    if (m_stage == Stage::Content)
        writeContent(rest.constData(), rest.size());
}

void MultipartReceiver::parsePartHeaders(const QByteArray& block)
{
    static const QRegularExpression disposition(
        QStringLiteral("^form-data; name=\"([^\"]*)\"; filename=\"(.*)\"$"));
    const QList<QByteArray> lines = block.split('\n');
    bool sawDisposition = false;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        QByteArray line = lines[i];
        const bool last = i == lines.size() - 1;
        if (!last && !line.endsWith('\r'))
            return fail(QStringLiteral("part header line not ended by CRLF"));
        if (!last)
            line.chop(1);
        const qsizetype colon = line.indexOf(':');
        if (colon < 0)
            return fail(QStringLiteral("malformed part header"));
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QString value = QString::fromUtf8(line.mid(colon + 1).trimmed());
        if (name == "content-disposition") {
            const auto match = disposition.match(value);
            if (!match.hasMatch())
                return fail(QStringLiteral("unexpected Content-Disposition: ") + value);
            m_fieldName = match.captured(1);
            m_fileName = match.captured(2);
            sawDisposition = true;
        } else if (name == "content-type") {
            m_contentType = value;
        }
    }
    if (!sawDisposition)
        return fail(QStringLiteral("part without Content-Disposition"));
    const QString stored = QFileInfo(m_fileName).fileName();
    if (m_uploadDir.isEmpty() || stored.isEmpty() || stored == QLatin1String("..")) {
        m_stage = Stage::Content; // checked, not stored
        return;
    }
    m_file.setFileName(QDir(m_uploadDir).filePath(stored));
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return fail(QStringLiteral("cannot store ") + m_file.fileName());
    m_stage = Stage::Content;
}

void MultipartReceiver::writeContent(const char* data, qint64 size)
{
    // Everything but the last bytes (which may be the closing boundary) is file content.
    m_pending.append(data, size);
    const qint64 keep = m_closing.size();
    if (m_pending.size() <= keep * 64 && size > 0)
        return;
    const qint64 out = m_pending.size() - keep;
    if (out <= 0)
        return;
    if (m_file.isOpen() && m_file.write(m_pending.constData(), out) != out)
        return fail(QStringLiteral("write failed: ") + m_file.errorString());
    m_fileLength += out;
    m_pending.remove(0, out);
}

QJsonObject MultipartReceiver::finish()
{
    if (m_stage == Stage::Content) {
        if (m_pending.size() < m_closing.size() || !m_pending.endsWith(m_closing)) {
            fail(QStringLiteral("body does not end with the closing boundary"));
        } else {
            const qint64 out = m_pending.size() - m_closing.size();
            if (m_file.isOpen())
                m_file.write(m_pending.constData(), out);
            m_fileLength += out;
            m_pending.clear();
        }
    } else if (m_stage != Stage::Failed) {
        fail(QStringLiteral("body ended inside the part headers"));
    }
    QJsonObject result;
    result[QStringLiteral("ok")] = m_stage != Stage::Failed;
    if (m_stage == Stage::Failed) {
        result[QStringLiteral("error")] = m_error;
        return result;
    }
    m_file.close();
    result[QStringLiteral("field")] = m_fieldName;
    result[QStringLiteral("filename")] = m_fileName;
    result[QStringLiteral("contentType")] = m_contentType;
    result[QStringLiteral("fileLength")] = m_fileLength;
    if (!m_file.fileName().isEmpty())
        result[QStringLiteral("storedAs")] = m_file.fileName();
    return result;
}
