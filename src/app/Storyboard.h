#pragma once

#include <QHash>
#include <QString>

#include <functional>

class QWidget;

// A named set of screens ("Main"), each made by its identifier, e.g.
// Storyboard::named("Main").instantiateControllerWithIdentifier("DashboardViewController").
class Storyboard
{
public:
    using Factory = std::function<QWidget*(QWidget* parent)>;

    static Storyboard& named(const QString& name);

    QString name() const { return m_name; }
    void registerController(const QString& identifier, Factory factory);
    bool hasController(const QString& identifier) const;
    // A new controller, or nullptr (with a log line) for an unknown identifier.
    QWidget* instantiateControllerWithIdentifier(
        const QString& identifier, QWidget* parent = nullptr) const;

private:
    explicit Storyboard(const QString& name);

    QString m_name;
    QHash<QString, Factory> m_factories;
};
