#include "FatalError.h"

#include <cstdio>
#include <cstdlib>

void fatalError(const QString& reason)
{
    const QByteArray text = "Fatal error: " + reason.toUtf8() + '\n';
    std::fflush(stdout);
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stderr);
    std::fflush(stderr);
    std::abort();
}
