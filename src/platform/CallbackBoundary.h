#pragma once

#include <QString>

#include <functional>

// Runs a callback the way the desktop's event loop runs one: an exception escaping it (a range
// error, say) is reported in the log as uncaught, with what it was doing, and the application
// goes on with the next event.
namespace CallbackBoundary {

// Returns false when the callback ended with an exception.
bool invoke(const QString& what, const std::function<void()>& callback);

} // namespace CallbackBoundary
