#include "CoordinateParser.h"

#include <QByteArray>

#include <array>
#include <charconv>
#include <cmath>

namespace CoordinateParser {
namespace {
bool isDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

// Checks the accepted syntax; returns the offset where the unsigned number starts.
std::optional<qsizetype> checkSyntax(QStringView text)
{
    qsizetype i = 0;
    const qsizetype n = text.size();
    if (i < n && (text[i] == u'+' || text[i] == u'-'))
        ++i;
    const qsizetype start = i;
    qsizetype digits = 0;
    while (i < n && isDigit(text[i].unicode())) {
        ++i;
        ++digits;
    }
    if (i < n && text[i] == u'.') {
        ++i;
        while (i < n && isDigit(text[i].unicode())) {
            ++i;
            ++digits;
        }
    }
    if (i != n || digits == 0)
        return std::nullopt;
    return start;
}

std::optional<double> convert(const char* first, const char* last, bool negative)
{
    double value = 0.0;
    const auto [end, ec] = std::from_chars(first, last, value, std::chars_format::fixed);
    if (ec != std::errc() || end != last || !std::isfinite(value))
        return std::nullopt;
    return negative ? -value : value;
}
} // namespace

std::optional<double> parse(QStringView text)
{
    const std::optional<qsizetype> start = checkSyntax(text);
    if (!start)
        return std::nullopt;
    const bool negative = *start > 0 && text[0] == u'-';
    const QStringView body = text.sliced(*start);
    // The syntax check leaves only ASCII digits and '.', so narrowing is exact. Short texts
    // (all real coordinates) stay on the stack.
    std::array<char, 64> buffer;
    if (body.size() <= qsizetype(buffer.size())) {
        for (qsizetype i = 0; i < body.size(); ++i)
            buffer[size_t(i)] = char(body[i].unicode());
        return convert(buffer.data(), buffer.data() + body.size(), negative);
    }
    const QByteArray wide = body.toLatin1();
    return convert(wide.constData(), wide.constData() + wide.size(), negative);
}

} // namespace CoordinateParser
