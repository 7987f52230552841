#include "HexValue.h"

#include <cstdio>

std::uint32_t hexValue(const QString& text)
{
    unsigned int value = 0;
    const QByteArray utf8 = text.toUtf8();
    std::sscanf(utf8.constData(), "%x", &value);
    return value;
}
