#include "HostProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>

HostProcess::HostProcess(const QString& address, int pingMs)
    : m_logPath(QDir::temp().filePath(
        QStringLiteral("robustness-host-%1.log").arg(QCoreApplication::applicationPid())))
{
    m_process.setStandardErrorFile(m_logPath);
    m_process.start(QStringLiteral(ROBUSTNESS_HOST), {address, QString::number(pingMs)});
    m_process.waitForStarted(5000);
    QDeadlineTimer deadline(15000);
    while (!m_output.contains("host: ready\n") && !deadline.hasExpired() && isRunning()) {
        m_process.waitForReadyRead(100);
        m_output += m_process.readAllStandardOutput();
    }
    m_ready = m_output.contains("host: ready\n");
    if (!m_ready)
        qWarning("robustness_host did not start (%s): %s", qPrintable(m_process.errorString()),
            log().right(2000).constData());
}

HostProcess::~HostProcess()
{
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(3000)) {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
    QFile::remove(m_logPath);
}

QByteArray HostProcess::command(const QByteArray& line)
{
    const qsizetype from = m_output.size();
    m_process.write(line + '\n');
    QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired() && isRunning()) {
        const qsizetype start = m_output.indexOf("host: ", from);
        const qsizetype nl = start < 0 ? -1 : m_output.indexOf('\n', start);
        if (nl >= 0)
            return m_output.mid(start + 6, nl - start - 6);
        m_process.waitForReadyRead(50);
        m_output += m_process.readAllStandardOutput();
    }
    return {};
}

qint64 HostProcess::residentKiB() const
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid()));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    return -1;
}

QByteArray HostProcess::log() const
{
    QFile file(m_logPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
