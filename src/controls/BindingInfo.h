#pragma once

#include "ValueTransformer.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>

// Options of a binding: a transformer given directly wins over one named in the registry.
struct BindingOptions
{
    std::shared_ptr<ValueTransformer> valueTransformer;
    QString valueTransformerName;
};

// What a control remembers about one of its bindings: the observed object, the key path on it
// (dot-separated; each step but the last names a property holding a QObject*), and the options.
struct BindingInfo
{
    QPointer<QObject> observedObject;
    QString observedKeyPath;
    BindingOptions options;
};
