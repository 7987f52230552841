#pragma once

#include <QStringView>

#include <optional>

namespace CoordinateParser {

// Reads a touch coordinate the way a number formatter in its default configuration does, in
// the C locale. Accepted: an optional sign ('+' or '-'), then digits with an optional '.' and
// fraction digits, or a '.' followed by digits ("12", "-3", "+7", "0.5", "16383.75", "5.",
// ".5"). Rejected: empty text, blanks anywhere, grouping separators, a ',' as decimal mark,
// exponents, hexadecimal, "inf"/"nan", any other character, and values too large for a double.
std::optional<double> parse(QStringView text);

} // namespace CoordinateParser
