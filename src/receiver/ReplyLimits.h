#pragma once

#include <QtGlobal>

// Caps on what a receiver's reply may bring. No real reply comes near them; a reply past a cap
// is cut there, its connection closed, and one line logged, so that nothing on the network can
// make the application's memory grow without bound.
namespace ReplyLimits {
constexpr qint64 maxBodyBytes = 1024 * 1024;
constexpr qint64 maxHeaderBytes = 64 * 1024;
} // namespace ReplyLimits
