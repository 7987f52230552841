#pragma once

#include "receiver/PingServer.h"

#include <QString>

// Records the calls of a request's completion handler: how many, and the last outcome.
struct HandlerCalls
{
    int count = 0;
    bool success = false;
    QString message;
    PingServer::Handler handler()
    {
        return [this](bool s, const QString& m) {
            ++count;
            success = s;
            message = m;
        };
    }
};
