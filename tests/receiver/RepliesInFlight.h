#pragma once

#include "receiver/ReceiverSession.h"

#include "receiver/ReceiverReply.h"
#include <QTest>

// A request that goes out makes its reply, a child of the shared manager, before the call that
// sent it returns: comparing this count before and after a call tells whether it sent anything.
inline qsizetype repliesInFlight()
{
    return ReceiverSession::shared()->findChildren<ReceiverReply*>().size();
}

// Ends every reply still on its way and waits until each is gone. Called between test functions:
// a reply that outlived its test would print its line, or count as finished, in the next one.
// Aborted, a reply ends as a transport failure, which prints, answers and alerts nothing.
inline bool abortRepliesInFlight()
{
    for (ReceiverReply* reply : ReceiverSession::shared()->findChildren<ReceiverReply*>())
        reply->abort();
    return QTest::qWaitFor([] { return repliesInFlight() == 0; }, 5000);
}
