#pragma once

#include <QProcess>
#include <QStringList>

// Runs "ip ..." inside the private network namespace the request tests run in (they are started
// through tests/support/with-netns-route, which sets ORVENTA_IN_NETNS). Outside one it refuses,
// so the machine's own interfaces are never changed.
inline bool insideTestNamespace()
{
    return qEnvironmentVariable("ORVENTA_IN_NETNS") == QLatin1String("1");
}

inline bool ipCommand(const QString& arguments)
{
    if (!insideTestNamespace())
        return false;
    return QProcess::execute(QStringLiteral("ip"), arguments.split(QLatin1Char(' '))) == 0;
}
