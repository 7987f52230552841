#include "Storyboard.h"

#include "platform/Logging.h"

#include <QWidget>

#include <map>
#include <memory>

Storyboard::Storyboard(const QString& name)
    : m_name(name)
{ }

Storyboard& Storyboard::named(const QString& name)
{
    static std::map<QString, std::unique_ptr<Storyboard>> storyboards;
    auto& slot = storyboards[name];
    if (!slot)
        slot.reset(new Storyboard(name));
    return *slot;
}

void Storyboard::registerController(const QString& identifier, Factory factory)
{
    m_factories.insert(identifier, std::move(factory));
}

bool Storyboard::hasController(const QString& identifier) const
{
    return m_factories.contains(identifier);
}

QWidget* Storyboard::instantiateControllerWithIdentifier(
    const QString& identifier, QWidget* parent) const
{
    const auto it = m_factories.constFind(identifier);
    if (it == m_factories.constEnd()) {
        qCWarning(lcApp).noquote() << "Storyboard" << m_name << "has no controller" << identifier;
        return nullptr;
    }
    return (*it)(parent);
}
