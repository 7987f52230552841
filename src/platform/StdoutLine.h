#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

namespace StdoutLine {

// Writes one line (a newline is appended) to standard output and flushes it at once, so that
// the lines of the request classes and the mouse synthesiser interleave correctly with others.
void print(const QString& line);
void print(const char* line);

// Tests observe the printed lines through a tap; the line still goes to standard output.
using Tap = std::function<void(const QByteArray& line)>;
void setTap(Tap tap);

} // namespace StdoutLine
