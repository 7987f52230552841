#include "StdoutLine.h"

#include <cstdio>

namespace StdoutLine {
namespace {
Tap& tap()
{
    static Tap instance;
    return instance;
}

void write(const QByteArray& utf8)
{
    std::fwrite(utf8.constData(), 1, static_cast<size_t>(utf8.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
    if (tap())
        tap()(utf8);
}
} // namespace

void print(const QString& line)
{
    write(line.toUtf8());
}

void print(const char* line)
{
    write(QByteArray(line));
}

void setTap(Tap t)
{
    tap() = std::move(t);
}

} // namespace StdoutLine
