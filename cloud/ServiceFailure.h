#pragma once

#include "base/Error.h"
#include "cloud/DecodingError.h"
#include "platform/HttpSession.h"

#include <QString>

#include <utility>
#include <variant>

/// A reply of the service that is a refusal or cannot be used.
class UploadError
{
public:
    enum class Case {
        signFailed,          ///< with status and body
        ossPutFailed,        ///< with status and body
        createMeetingFailed, ///< with status and body; of the reconcile call too
        notLoggedIn,         ///< for callers without a token
        unauthorized,        ///< the token was refused
        invalidResponse,     ///< no usable upload address, or no meeting identifier
    };

    /// \p status and \p body, both as they came, belong to the first three cases.
    explicit UploadError(Case kind, int status = 0, QString body = {})
        : m_kind(kind)
        , m_status(status)
        , m_body(std::move(body))
    {
    }

    Case kind() const { return m_kind; }
    int status() const { return m_status; }
    const QString &body() const { return m_body; }

    /// The sentence that the user reads; of the body the first 120 characters as a reader counts
    /// them.
    QString description() const;

    bool operator==(const UploadError &) const = default;

private:
    Case m_kind;
    int m_status;
    QString m_body;
};

/// Why a call to the service gave nothing: its own answer, no answer, an answer that cannot be
/// read, or a service origin that is not configured properly.
class ServiceFailure
{
public:
    using Cause = std::variant<UploadError, TransportError, DecodingError, Error>;

    // Implicit, so that each layer returns its own error.
    ServiceFailure(UploadError reason)
        : m_cause(std::move(reason))
    {
    }
    ServiceFailure(TransportError reason)
        : m_cause(std::move(reason))
    {
    }
    ServiceFailure(DecodingError reason)
        : m_cause(std::move(reason))
    {
    }
    ServiceFailure(Error reason)
        : m_cause(std::move(reason))
    {
    }

    const Cause &cause() const { return m_cause; }

    /// The service refused the token.
    bool isUnauthorized() const
    {
        const auto *const error = std::get_if<UploadError>(&m_cause);
        return error && error->kind() == UploadError::Case::unauthorized;
    }

    /// The sentence that the user reads.
    QString description() const
    {
        return std::visit([](const auto &reason) -> QString { return reason.description(); },
                          m_cause);
    }

private:
    Cause m_cause;
};
