#include "SimProcess.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

SimProcess::SimProcess(const QString& address, const QStringList& extraArguments)
{
    QDir(m_dir.path()).mkdir(QStringLiteral("uploads"));
    QStringList arguments {address, QStringLiteral("--log"),
        m_dir.filePath(QStringLiteral("log.jsonl")), QStringLiteral("--upload-dir"), uploadDir()};
    arguments += extraArguments;
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral(RECEIVER_SIM), arguments);
    QDeadlineTimer deadline(10000);
    while (!m_output.contains("ready ") && !deadline.hasExpired()
        && m_process.state() != QProcess::NotRunning) {
        m_process.waitForReadyRead(100);
        m_output += m_process.readAllStandardOutput();
    }
    m_ready = m_output.contains("ready ");
}

SimProcess::~SimProcess()
{
    m_process.closeWriteChannel();
    m_process.kill();
    m_process.waitForFinished(5000);
}

QByteArray SimProcess::command(const QByteArray& line)
{
    const qsizetype from = m_output.size();
    m_process.write(line + '\n');
    QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired()) {
        const qsizetype nl = m_output.indexOf('\n', from);
        if (nl >= 0)
            return m_output.mid(from, nl - from);
        m_process.waitForReadyRead(100);
        m_output += m_process.readAllStandardOutput();
    }
    return {};
}

QList<QJsonObject> SimProcess::requests() const
{
    QFile log(m_dir.filePath(QStringLiteral("log.jsonl")));
    QList<QJsonObject> result;
    if (!log.open(QIODevice::ReadOnly))
        return result;
    for (const QByteArray& line : log.readAll().split('\n'))
        if (!line.isEmpty())
            result << QJsonDocument::fromJson(line).object();
    return result;
}

bool SimProcess::waitForRequests(int count, int timeoutMs) const
{
    QDeadlineTimer deadline(timeoutMs);
    while (requests().size() < count) {
        if (deadline.hasExpired())
            return false;
        QTest::qWait(20);
    }
    return true;
}

QList<QPair<QString, QString>> loggedHeaders(const QJsonObject& request)
{
    QList<QPair<QString, QString>> result;
    for (const QJsonValue& pair : request.value(QStringLiteral("headers")).toArray())
        result.append({pair.toArray().at(0).toString(), pair.toArray().at(1).toString()});
    return result;
}
