#include "receiver/Describe.h"

#include <QNetworkReply>
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
    QString escaped = QStringLiteral("\"");
    for (const QChar c : text)
        escaped += escapedChar(c);
    return escaped + QLatin1Char('"');
}

} // namespace

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

QString response(const QNetworkReply* reply)
{
    QStringList headerTexts;
    for (const auto& [name, value] : reply->rawHeaderPairs())
        headerTexts << quoted(QString::fromLatin1(name)) + QStringLiteral(": ")
                + quoted(QString::fromLatin1(value));
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    return QStringLiteral("<HTTPURLResponse: URL: %1, status code: %2, headers: {%3}>")
        .arg(reply->url().toString(), QString::number(status.toInt()),
            headerTexts.join(QStringLiteral(", ")));
}

QString optionalResponse(const QNetworkReply* reply)
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
