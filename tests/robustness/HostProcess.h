#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

// A robustness_host process: started with its standard error in a file (a flood makes many log
// lines), driven by commands on its standard input.
class HostProcess
{
public:
    HostProcess(const QString& address, int pingMs);
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
    QString m_logPath;
    QProcess m_process;
    QByteArray m_output;
    bool m_ready = false;
};
