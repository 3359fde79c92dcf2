#include "cloud/ServiceReplies.h"

#include <QUtf8StringView>

#include <optional>

namespace
{
/// A body that is not UTF-8 counts as empty.
QString bodyText(const HttpReply &reply)
{
    return QUtf8StringView(reply.body()).isValidUtf8() ? QString::fromUtf8(reply.body())
                                                       : QString();
}

UploadError refused(UploadError::Case kind, const HttpReply &reply)
{
    return UploadError(kind, reply.status(), bodyText(reply));
}

/// The failure of an authenticated call before its body is read; none where it succeeded. \p kind
/// is the call's own case for a status that means failure.
std::optional<ServiceFailure> failureOf(const HttpOutcome &outcome, UploadError::Case kind)
{
    if (!outcome)
        return outcome.error();
    if (outcome->status() == 401)
        return UploadError(UploadError::Case::unauthorized);
    if (!outcome->isSuccess())
        return refused(kind, *outcome);
    return std::nullopt;
}
} // namespace

std::expected<SignUploadResponse, ServiceFailure>
ServiceReplies::signUpload(const HttpOutcome &outcome)
{
    if (const auto failure = failureOf(outcome, UploadError::Case::signFailed))
        return std::unexpected(*failure);
    auto response = decodedSignUpload(outcome->body());
    if (!response)
        return std::unexpected(response.error());
    return std::move(*response);
}

std::expected<void, ServiceFailure> ServiceReplies::objectUpload(const HttpOutcome &outcome)
{
    if (!outcome)
        return std::unexpected(outcome.error());
    if (!outcome->isSuccess())
        return std::unexpected(refused(UploadError::Case::ossPutFailed, *outcome));
    return {};
}

std::expected<QString, ServiceFailure> ServiceReplies::createMeeting(const HttpOutcome &outcome)
{
    if (const auto failure = failureOf(outcome, UploadError::Case::createMeetingFailed))
        return std::unexpected(*failure);
    auto id = decodedMeetingId(outcome->body());
    if (!id)
        return std::unexpected(UploadError(UploadError::Case::invalidResponse)); // unreadable, too
    return std::move(*id);
}

std::expected<QList<ReconciledMeeting>, ServiceFailure>
ServiceReplies::reconcile(const HttpOutcome &outcome)
{
    if (const auto failure = failureOf(outcome, UploadError::Case::createMeetingFailed))
        return std::unexpected(*failure);
    auto response = decodedReconcile(outcome->body());
    if (!response)
        return std::unexpected(response.error());
    return std::move(response->meetings);
}
