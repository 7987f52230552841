#pragma once

class QScreen;

namespace MainScreen {

// The screen that holds the application's window (the first visible top-level window), or
// the primary screen when no window is shown; nullptr when there is no screen at all.
QScreen* current();

} // namespace MainScreen
