#pragma once

#include "platform/SecretStore.h"

#include <QMap>
#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

class Defaults;
class SecretWorker;

/// The secret store on the Secret Service of the session bus, one item for each service and
/// account. Main thread.
///
/// A worker makes all calls in their order. Only find() waits for it, and a worker that did not
/// answer in time is not waited for again before it has moved on: the user may be looking at a
/// prompt, or the service may hang.
///
/// What was removed stays removed, also where the service kept it, for instance because the user
/// did not unlock it: the settings remember that until the service has confirmed the removal, or
/// has taken a new value, and a later run of the program tries again before it searches.
class SecretServiceStore : public SecretStore
{
public:
    /// \p defaults must outlive this object. A find() waits for \p patience: the launch does, too.
    explicit SecretServiceStore(Defaults &defaults,
                                std::chrono::milliseconds patience = std::chrono::milliseconds(250),
                                std::chrono::milliseconds patienceAtEnd = std::chrono::seconds(2));

    /// Waits for what is still to be written, unless the worker is silent already.
    ~SecretServiceStore() override;

    SecretServiceStore(const SecretServiceStore &) = delete;
    SecretServiceStore &operator=(const SecretServiceStore &) = delete;

    void add(const QString &service, const QString &account, const QString &value) override;
    std::optional<QString> find(const QString &service, const QString &account) override;
    QFuture<std::optional<QString>> lastAnswer() const override { return m_lastAnswer; }
    void remove(const QString &service, const QString &account) override;

private:
    void change(const QString &mark, std::function<bool()> call);
    void forgetConfirmed();

    Defaults &m_defaults;
    const std::chrono::milliseconds m_patience;
    const std::chrono::milliseconds m_patienceAtEnd;
    QFuture<std::optional<QString>> m_lastAnswer;
    QMap<QString, QFuture<bool>> m_changes; ///< the last one of each item: whether it succeeded
    QObject m_context;                      ///< ends what waits for the changes
    std::shared_ptr<SecretWorker> m_worker; ///< shared with its thread, which may outlive the store
};
