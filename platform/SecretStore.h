#pragma once

#include <QFuture>
#include <QString>

#include <optional>

/// The user's secret store: small texts by service and account. Reports nothing: what is refused,
/// locked or absent counts as not there. Main thread; find() waits a moment, the others do not.
class SecretStore
{
public:
    virtual ~SecretStore() = default;

    /// Stores \p value as a new item.
    virtual void add(const QString &service, const QString &account, const QString &value) = 0;

    /// The value of the item; none when there is no such item, when it cannot be had, or when it is
    /// not valid UTF-8.
    virtual std::optional<QString> find(const QString &service, const QString &account) = 0;

    /// The answer to the last find(), also where that gave up waiting for it, for instance because
    /// the user is being asked to unlock the store. May finish without a result.
    virtual QFuture<std::optional<QString>> lastAnswer() const { return {}; }

    /// It is not found any more, also by a later run of the program, whether the store obeyed or
    /// not.
    virtual void remove(const QString &service, const QString &account) = 0;
};
