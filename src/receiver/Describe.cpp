#include "receiver/Describe.h"

#include <QNetworkReply>
#include <QStringList>

namespace Describe {

namespace {

QString quoted(const QString& text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    escaped.replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
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
