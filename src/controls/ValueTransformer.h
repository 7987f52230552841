#pragma once

#include <QString>
#include <QVariant>

#include <memory>

// Converts a control's value to and from the value kept by a bound model object.
class ValueTransformer
{
public:
    virtual ~ValueTransformer() = default;

    virtual bool allowsReverseTransformation() const = 0;
    virtual QVariant transformedValue(const QVariant& value) const = 0;
    // Only asked when allowsReverseTransformation() answers true; the default hands the value back.
    virtual QVariant reverseTransformedValue(const QVariant& value) const { return value; }

    // Process-wide registry of transformers by name, used by bindings that name their transformer.
    static void setValueTransformer(
        std::shared_ptr<ValueTransformer> transformer, const QString& name);
    static std::shared_ptr<ValueTransformer> valueTransformerForName(const QString& name);
};
