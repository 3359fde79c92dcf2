#pragma once

#include <QFuture>
#include <QString>

#include <optional>

class SecretStore;

/// The program's own small texts in the user's secret store, one item for each key. No cache, no
/// state: every call goes to the store. Reports nothing; what cannot be had is not there.
/// Main thread.
class Keychain
{
public:
    /// \p store must outlive this object.
    explicit Keychain(SecretStore &store);

    /// Replaces the whole value. Where storing fails, no older value is left behind.
    void set(const QString &value, const QString &key);

    std::optional<QString> get(const QString &key) const;

    /// Of the last get(), which may have given up waiting for it. May finish without a result.
    QFuture<std::optional<QString>> lastAnswer() const;

    void remove(const QString &key);

private:
    SecretStore &m_store;
};
