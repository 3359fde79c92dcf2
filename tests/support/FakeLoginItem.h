#pragma once

#include "platform/LoginItem.h"

#include <QStringList>

#include <optional>

/// Remembers the calls; fails each of them while \c failure is set.
class FakeLoginItem : public LoginItem
{
public:
    std::expected<void, Error> registerItem() override
    {
        return answer(QStringLiteral("register"));
    }
    std::expected<void, Error> unregisterItem() override
    {
        return answer(QStringLiteral("unregister"));
    }

    QStringList calls;
    std::optional<Error> failure;

private:
    std::expected<void, Error> answer(const QString &call)
    {
        calls.append(call);
        if (failure)
            return std::unexpected(*failure);
        return {};
    }
};
