#pragma once

#include "platform/SecretStore.h"

#include <QPromise>
#include <QStringList>

#include <map>

/// Secrets in memory. Like a real one it may hold several items for one account.
class FakeSecretStore : public SecretStore
{
public:
    void add(const QString &service, const QString &account, const QString &value) override
    {
        if (!refusesToAdd)
            items.emplace(key(service, account), value);
    }

    std::optional<QString> find(const QString &service, const QString &account) override
    {
        const auto found = items.find(key(service, account));
        if (isLocked) {
            m_last = account;
            m_answers[account].start();
            return std::nullopt;
        }
        return found == items.end() ? std::nullopt : std::optional(found->second);
    }

    void remove(const QString &service, const QString &account) override
    {
        items.erase(key(service, account));
    }

    QFuture<std::optional<QString>> lastAnswer() const override
    {
        const auto waiting = m_answers.find(m_last);
        return waiting == m_answers.end() ? QFuture<std::optional<QString>>()
                                          : waiting->second.future();
    }

    /// To the find() that was made while the store was locked.
    void answerLate(const QString &account, const std::optional<QString> &value)
    {
        m_answers.at(account).addResult(value);
        m_answers.at(account).finish();
    }

    /// "account=value" of the program's own items, in order.
    QStringList own() const
    {
        QStringList list;
        for (const auto &[name, value] : items) {
            if (name.startsWith(u"com.parlovance.mac "))
                list.append(name.section(u' ', 1) + u'=' + value);
        }
        return list;
    }

    static QString key(const QString &service, const QString &account)
    {
        return service + u' ' + account;
    }

    std::multimap<QString, QString> items; ///< by service and account, with a space between
    bool refusesToAdd = false;
    bool isLocked = false;

private:
    QString m_last; ///< account
    std::map<QString, QPromise<std::optional<QString>>> m_answers;
};
