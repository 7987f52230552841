#include "CallbackBoundary.h"

#include "Logging.h"

#include <exception>
#include <typeinfo>

namespace CallbackBoundary {

bool invoke(const QString& what, const std::function<void()>& callback)
{
    try {
        callback();
        return true;
    } catch (const std::exception& e) {
        qCCritical(lcPlatform).noquote()
            << QStringLiteral("Uncaught exception (%1) in %2: %3")
                   .arg(QString::fromLatin1(typeid(e).name()), what, QString::fromUtf8(e.what()));
    } catch (...) {
        qCCritical(lcPlatform).noquote() << QStringLiteral("Uncaught exception in %1").arg(what);
    }
    return false;
}

} // namespace CallbackBoundary
