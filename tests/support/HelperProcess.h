#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

// Runs a helper executable to completion (used to check the fatal-error path, which ends the
// process) and keeps what it printed and how it ended.
struct HelperResult
{
    QByteArray standardOutput;
    QByteArray standardError;
    QProcess::ExitStatus exitStatus = QProcess::NormalExit;
    int exitCode = 0;
    bool crashed() const { return exitStatus == QProcess::CrashExit; }
};

HelperResult runHelper(const QString& program, const QStringList& arguments, int timeoutMs = 30000);
