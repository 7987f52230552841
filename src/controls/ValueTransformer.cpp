#include "ValueTransformer.h"

#include <QHash>

namespace {
QHash<QString, std::shared_ptr<ValueTransformer>>& registry()
{
    static QHash<QString, std::shared_ptr<ValueTransformer>> transformers;
    return transformers;
}
} // namespace

void ValueTransformer::setValueTransformer(
    std::shared_ptr<ValueTransformer> transformer, const QString& name)
{
    if (transformer)
        registry().insert(name, std::move(transformer));
    else
        registry().remove(name);
}

std::shared_ptr<ValueTransformer> ValueTransformer::valueTransformerForName(const QString& name)
{
    return registry().value(name);
}
