#include "platform/linux/secrets/SecretItems.h"

#include <libsecret/secret.h>

#include <memory>

namespace
{

const SecretSchema schema = {
    "com.parlovance.mac",
    SECRET_SCHEMA_NONE,
    {
        {"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
        {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
        {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING},
    },
    0,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
};

struct AttributesDeleter {
    void operator()(GHashTable *table) const { g_hash_table_unref(table); }
};
using Attributes = std::unique_ptr<GHashTable, AttributesDeleter>;

struct ValueDeleter {
    void operator()(SecretValue *value) const { secret_value_unref(value); }
};
using Value = std::unique_ptr<SecretValue, ValueDeleter>;

struct ItemsDeleter {
    void operator()(GList *items) const { g_list_free_full(items, g_object_unref); }
};
using Items = std::unique_ptr<GList, ItemsDeleter>;

Attributes attributesOf(const SecretItems::Key &key)
{
    return Attributes(secret_attributes_build(&schema, "service", key.service.c_str(), "account",
                                              key.account.c_str(), nullptr));
}

/// The user's bus ends the process by default when it ends; a recording must not end that way.
void outliveTheBus()
{
    GDBusConnection *const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return;
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    g_object_unref(bus);
}

/// Another attempt makes sense when the service is gone or was started anew, not when it is silent.
bool isWorthAnotherAttempt(const GError *error)
{
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT) ||
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY))
        return false;
    return error->domain == G_DBUS_ERROR || error->domain == G_IO_ERROR;
}

/// \p call once, with the place of its error; none where it left one there.
template<class Call>
auto attempt(const Call &call, bool &isWorthAnother)
{
    outliveTheBus();
    GError *error = nullptr;
    auto result = std::optional(call(&error));
    if (error) {
        isWorthAnother = isWorthAnotherAttempt(error);
        g_clear_error(&error);
        result.reset();
    }
    return result;
}

/// The result of \p call, none where it failed. The library goes on addressing a service that has
/// died, until it is told to look for the service again.
template<class Call>
auto withFreshService(const Call &call)
{
    bool isWorthAnother = false;
    auto result = attempt(call, isWorthAnother);
    if (result)
        return result;
    secret_service_disconnect();
    return isWorthAnother ? attempt(call, isWorthAnother) : std::nullopt;
}

/// The items that match; none where the service cannot be asked.
std::optional<Items> search(const SecretItems::Key &key, int flags)
{
    const Attributes attributes = attributesOf(key);
    return withFreshService([&](GError **error) {
        return Items(secret_password_searchv_sync(
            &schema, attributes.get(), static_cast<SecretSearchFlags>(flags), nullptr, error));
    });
}

std::optional<std::string> firstUnlocked(const Items &items)
{
    for (const GList *item = items.get(); item; item = item->next) {
        if (SECRET_IS_ITEM(item->data) && secret_item_get_locked(SECRET_ITEM(item->data)))
            continue;
        const Value value(secret_retrievable_retrieve_secret_sync(SECRET_RETRIEVABLE(item->data),
                                                                  nullptr, nullptr));
        if (!value)
            continue;
        gsize size = 0;
        const char *const bytes = secret_value_get(value.get(), &size);
        return std::string(bytes, size);
    }
    return std::nullopt;
}

} // namespace

bool SecretItems::store(const Key &key, const std::string &value)
{
    const Attributes attributes = attributesOf(key);
    const Value secret(
        secret_value_new(value.data(), static_cast<gssize>(value.size()), "text/plain"));
    const auto isStored = withFreshService([&](GError **error) {
        return secret_password_storev_binary_sync(&schema, attributes.get(),
                                                  SECRET_COLLECTION_DEFAULT, "Parlovance",
                                                  secret.get(), nullptr, error);
    });
    return isStored.value_or(FALSE) != FALSE;
}

std::optional<std::string> SecretItems::find(const Key &key)
{
    constexpr int everything = SECRET_SEARCH_ALL | SECRET_SEARCH_LOAD_SECRETS;
    const auto items = search(key, everything);
    if (!items || !*items)
        return std::nullopt;
    if (auto value = firstUnlocked(*items))
        return value;
    const auto unlocked = search(key, everything | SECRET_SEARCH_UNLOCK);
    return unlocked ? firstUnlocked(*unlocked) : std::nullopt;
}

bool SecretItems::remove(const Key &key)
{
    // Clearing passes over what is locked, and calls that a success.
    search(key, SECRET_SEARCH_ALL | SECRET_SEARCH_UNLOCK);
    const Attributes attributes = attributesOf(key);
    withFreshService([&](GError **error) {
        return secret_password_clearv_sync(&schema, attributes.get(), nullptr, error);
    });
    const auto left = search(key, SECRET_SEARCH_ALL);
    return left && !*left;
}
