#pragma once

#include "base/Error.h"

#include <expected>

/// Whether the desktop starts the application when the user logs in. Main thread.
class LoginItem
{
public:
    virtual ~LoginItem() = default;

    virtual std::expected<void, Error> registerItem() = 0;
    virtual std::expected<void, Error> unregisterItem() = 0;
};
