#include "cloud/Keychain.h"

#include "platform/SecretStore.h"

using namespace Qt::StringLiterals;

namespace
{
const auto service = u"com.parlovance.mac"_s;
}

Keychain::Keychain(SecretStore &store)
    : m_store(store)
{
}

void Keychain::set(const QString &value, const QString &key)
{
    // Never in place: a store that refuses the new value must not go on with the old one.
    m_store.remove(service, key);
    m_store.add(service, key, value);
}

std::optional<QString> Keychain::get(const QString &key) const
{
    return m_store.find(service, key);
}

QFuture<std::optional<QString>> Keychain::lastAnswer() const
{
    return m_store.lastAnswer();
}

void Keychain::remove(const QString &key)
{
    m_store.remove(service, key);
}
