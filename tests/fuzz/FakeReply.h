#pragma once

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QPair>

// A finished reply made from given parts, read like one that came off the network.
class FakeReply final : public QNetworkReply
{
public:
    FakeReply(int status, NetworkError error, const QList<QPair<QByteArray, QByteArray>>& headers,
        QByteArray body)
        : m_body(std::move(body))
    {
        setUrl(
            QUrl(QStringLiteral("http://127.0.0.1:5000/pingServerWithIP?ip=10.99.0.2&msg=ping")));
        setAttribute(QNetworkRequest::HttpStatusCodeAttribute, status);
        if (error != NoError)
            setError(error, QStringLiteral("fuzzed error"));
        for (const auto& [name, value] : headers)
            setRawHeader(name, value);
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        setFinished(true);
    }

    void abort() override { }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override
    {
        return m_body.size() - m_position + QNetworkReply::bytesAvailable();
    }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const qint64 n = qMin<qint64>(maxSize, m_body.size() - m_position);
        if (n <= 0)
            return m_position >= m_body.size() ? -1 : 0;
        memcpy(data, m_body.constData() + m_position, size_t(n));
        m_position += n;
        return n;
    }

private:
    QByteArray m_body;
    qint64 m_position = 0;
};
