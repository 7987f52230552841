#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

// A robustness_host process: its standard error and output go to files (a flood makes many log
// lines, replies many printed ones), driven by commands on its standard input.
class HostProcess
{
public:
    // extra: further arguments of robustness_host ("browse").
    HostProcess(const QString& address, int pingMs, const QStringList& extra = {});
    ~HostProcess();

    bool isReady() const { return m_ready; }
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    qint64 pid() const { return m_process.processId(); }
    // Sends one command and returns the line it printed.
    QByteArray command(const QByteArray& line);
    // Resident memory in KiB, from /proc.
    qint64 residentKiB() const;
    // The standard error so far.
    QByteArray log() const;

private:
    // The first answer line printed after offset in the standard output file.
    QByteArray answerAfter(qint64 offset) const;

    QString m_logPath;
    QProcess m_process;
    bool m_ready = false;
};
