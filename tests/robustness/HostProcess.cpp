#include "HostProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>
#include <QThread>

HostProcess::HostProcess(const QString& address, int pingMs, const QStringList& extra)
    : m_logPath(QDir::temp().filePath(
        QStringLiteral("robustness-host-%1.log").arg(QCoreApplication::applicationPid())))
{
    // Both outputs go to files: a slow reader of a pipe would hold the writer up, and the
    // request classes print whole reply bodies on standard output.
    m_process.setStandardErrorFile(m_logPath);
    m_process.setStandardOutputFile(m_logPath + QStringLiteral(".out"));
    m_process.start(
        QStringLiteral(ROBUSTNESS_HOST), QStringList {address, QString::number(pingMs)} + extra);
    m_process.waitForStarted(5000);
    QDeadlineTimer deadline(15000);
    while (answerAfter(0).isNull() && !deadline.hasExpired() && isRunning())
        QThread::msleep(50);
    m_ready = answerAfter(0) == "ready";
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
    QFile::remove(m_logPath + QStringLiteral(".out"));
}

QByteArray HostProcess::answerAfter(qint64 offset) const
{
    QFile out(m_logPath + QStringLiteral(".out"));
    if (!out.open(QIODevice::ReadOnly) || !out.seek(offset))
        return {};
    const QByteArray text = out.readAll();
    const qsizetype start
        = text.startsWith("host: ") ? 0 : text.indexOf("\nhost: ") + 1; // a line of its own
    const qsizetype nl = start <= 0 && !text.startsWith("host: ") ? -1 : text.indexOf('\n', start);
    return nl < 0 ? QByteArray() : text.mid(start + 6, nl - start - 6);
}

QByteArray HostProcess::command(const QByteArray& line)
{
    const qint64 from = QFileInfo(m_logPath + QStringLiteral(".out")).size();
    m_process.write(line + '\n');
    m_process.waitForBytesWritten(1000);
    QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired() && isRunning()) {
        const QByteArray answer = answerAfter(from);
        if (!answer.isNull())
            return answer;
        QTest::qWait(20);
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
