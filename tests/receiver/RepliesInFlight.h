#pragma once

#include "receiver/ReceiverSession.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

// A request that goes out makes its reply, a child of the shared manager, before the call that
// sent it returns: comparing this count before and after a call tells whether it sent anything.
inline qsizetype repliesInFlight()
{
    return ReceiverSession::shared()->findChildren<QNetworkReply*>().size();
}
