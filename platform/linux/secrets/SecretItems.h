#pragma once

#include <optional>
#include <string>

/// The calls to the Secret Service, kept apart from Qt, whose keywords the library's headers use.
///
/// All block until the service has answered, and for as long as the user leaves a prompt open: for
/// a worker thread only. No errors: what fails has not happened.
namespace SecretItems
{

/// The attributes by which an item is found. UTF-8, without NUL.
struct Key {
    std::string service;
    std::string account;
};

/// Whether it is stored.
bool store(const Key &key, const std::string &value);

/// Asks the user to unlock only when there is an item, and it is locked.
std::optional<std::string> find(const Key &key);

/// Asks the user to unlock as find() does. Whether there is no such item any more.
bool remove(const Key &key);

} // namespace SecretItems
