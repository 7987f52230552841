#pragma once

#include <QString>

// The one way the process ends on a broken precondition: the reason goes to standard error
// as "Fatal error: <reason>", then the process aborts.
[[noreturn]] void fatalError(const QString& reason);
