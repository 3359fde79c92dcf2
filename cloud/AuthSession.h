#pragma once

#include <QString>

#include <optional>

/// A signed-in user, as kept in the secret store. A value.
struct AuthSession {
    QString token; ///< opaque; printable ASCII, so that it can stand in a header
    std::optional<QString> email = std::nullopt;

    bool operator==(const AuthSession &) const = default;
};

/// Compact JSON.
QString encoded(const AuthSession &session);

/// The session that encoded() wrote; none where \p text is no session or its token cannot be used.
std::optional<AuthSession> decodedSession(const QString &text);
