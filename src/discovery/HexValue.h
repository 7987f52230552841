#pragma once

#include <QString>

#include <cstdint>

// The text read as hexadecimal the way sscanf "%x" reads it: leading blanks skipped, an
// optional 0x prefix, digits of either case up to the first other character; 0 when none.
std::uint32_t hexValue(const QString& text);
