#pragma once

#include <QString>

// One announced DNS-SD service instance, identified by its name, type and domain.
struct NetService
{
    QString name;
    QString type;
    QString domain;

    friend bool operator==(const NetService&, const NetService&) = default;
};
