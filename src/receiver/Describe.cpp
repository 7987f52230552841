#include "receiver/Describe.h"

#include "receiver/ReceiverReply.h"

#include <QStringList>

#include <utility>

namespace Describe {

namespace {

// How a debugging description writes one character inside quotes.
QString escapedChar(QChar c)
{
    static constexpr std::pair<char16_t, const char*> named[] = {{u'\\', "\\\\"}, {u'\'', "\\'"},
        {u'"', "\\\""}, {u'\0', "\\0"}, {u'\n', "\\n"}, {u'\r', "\\r"}, {u'\t', "\\t"}};
    for (const auto& [character, escape] : named) {
        if (c == character)
            return QLatin1String(escape);
    }
    if (c.unicode() < 0x20 || c.unicode() == 0x7f)
        return QStringLiteral("\\u{%1}").arg(
            QString::number(c.unicode(), 16).toUpper().rightJustified(2, QLatin1Char('0')));
    return QString(c);
}

// Quotes, backslashes and control characters escaped, so a description stays on one line.
QString quoted(const QString& text)
{
    // Most characters stand as they are: appended directly, so a long text costs no more than
    // a copy (a reply body may be a mebibyte).
    QString escaped;
    escaped.reserve(text.size() + 2);
    escaped += QLatin1Char('"');
    for (const QChar c : text) {
        const bool plain
            = c.unicode() >= 0x20 && c.unicode() != 0x7f && c != u'\\' && c != u'\'' && c != u'"';
        if (plain)
            escaped += c;
        else
            escaped += escapedChar(c);
    }
    escaped += QLatin1Char('"');
    return escaped;
}

} // namespace

QByteArray optionalUtf8Text(QByteArrayView utf8)
{
    // Only ASCII characters are escaped, and no byte of a longer UTF-8 sequence is ASCII.
    QByteArray line;
    line.reserve(utf8.size() + 12);
    line += "Optional(\"";
    qsizetype plainFrom = 0;
    for (qsizetype i = 0; i < utf8.size(); ++i) {
        const auto c = uchar(utf8[i]);
        if (c >= 0x20 && c != 0x7f && c != '\\' && c != '\'' && c != '"')
            continue;
        line += utf8.sliced(plainFrom, i - plainFrom); // the plain run before, in one piece
        line += escapedChar(QChar(c)).toLatin1();
        plainFrom = i + 1;
    }
    line += utf8.sliced(plainFrom);
    line += "\")";
    return line;
}

QString optionalText(const std::optional<QString>& text)
{
    return text ? optional(quoted(*text)) : optional(std::nullopt);
}

QString optional(const std::optional<QString>& description)
{
    return description ? QStringLiteral("Optional(%1)").arg(*description) : QStringLiteral("nil");
}

QString bytes(qint64 count)
{
    return QStringLiteral("%1 bytes").arg(count);
}

QString response(const ReceiverReply* reply)
{
    QStringList headerTexts;
    for (const auto& [name, value] : reply->headers())
        headerTexts << quoted(QString::fromLatin1(name)) + QStringLiteral(": ")
                + quoted(QString::fromLatin1(value));
    return QStringLiteral("<HTTPURLResponse: URL: %1, status code: %2, headers: {%3}>")
        .arg(reply->url().toString(), QString::number(reply->status().value_or(0)),
            headerTexts.join(QStringLiteral(", ")));
}

QString optionalResponse(const ReceiverReply* reply)
{
    return reply ? optional(response(reply)) : optional(std::nullopt);
}

QString headers(const QList<QPair<QByteArray, QByteArray>>& headers)
{
    QStringList texts;
    for (const auto& [name, value] : headers)
        texts << quoted(QString::fromUtf8(name)) + QStringLiteral(": ")
                + quoted(QString::fromUtf8(value));
    return QLatin1Char('[') + texts.join(QStringLiteral(", ")) + QLatin1Char(']');
}

} // namespace Describe
