#pragma once

#include <QString>

#include <optional>

/// The user's settings by key, kept across launches. Main thread. Reports no errors: what cannot
/// be stored is still returned for the life of the process.
class Defaults
{
public:
    virtual ~Defaults() = default;

    /// The stored value; none when the key is missing or holds another type.
    virtual std::optional<QString> string(const QString &key) const = 0;
    virtual std::optional<bool> boolean(const QString &key) const = 0;

    virtual void setString(const QString &key, const QString &value) = 0;
    virtual void setBoolean(const QString &key, bool value) = 0;
};
