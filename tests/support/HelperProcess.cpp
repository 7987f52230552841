#include "HelperProcess.h"

HelperResult runHelper(const QString& program, const QStringList& arguments, int timeoutMs)
{
    QProcess process;
    process.start(program, arguments);
    HelperResult result;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
    }
    result.standardOutput = process.readAllStandardOutput();
    result.standardError = process.readAllStandardError();
    result.exitStatus = process.exitStatus();
    result.exitCode = process.exitCode();
    return result;
}
