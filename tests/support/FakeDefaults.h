#pragma once

#include "platform/Defaults.h"

#include <QStringList>
#include <QVariantMap>

/// Settings in memory. Counts what is written, in order, as "key=value".
class FakeDefaults : public Defaults
{
public:
    std::optional<QString> string(const QString &key) const override
    {
        const QVariant value = values.value(key);
        return value.typeId() == QMetaType::QString ? std::optional(value.toString())
                                                    : std::nullopt;
    }

    std::optional<bool> boolean(const QString &key) const override
    {
        const QVariant value = values.value(key);
        return value.typeId() == QMetaType::Bool ? std::optional(value.toBool()) : std::nullopt;
    }

    void setString(const QString &key, const QString &value) override { set(key, value); }
    void setBoolean(const QString &key, bool value) override { set(key, value); }

    QVariantMap values;
    QStringList writes;

private:
    void set(const QString &key, const QVariant &value)
    {
        values.insert(key, value);
        writes.append(key + QLatin1Char('=') + value.toString());
    }
};
