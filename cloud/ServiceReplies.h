#pragma once

#include "base/Tasks.h"
#include "cloud/ServiceFailure.h"
#include "cloud/ServiceRecords.h"

#include <QList>
#include <QString>

#include <expected>

/// Readers of the replies to the upload calls. Pure functions; any thread.
///
/// The token was refused only where an authenticated call answers 401; a stored object's 401 is
/// about its signed address. What is not HTTP at all never gets here: it is a transport error.
namespace ServiceReplies
{
std::expected<SignUploadResponse, ServiceFailure> signUpload(const HttpOutcome &outcome);
std::expected<void, ServiceFailure> objectUpload(const HttpOutcome &outcome);

/// The new meeting's identifier.
std::expected<QString, ServiceFailure> createMeeting(const HttpOutcome &outcome);

/// The meetings in the order in which they came.
std::expected<QList<ReconciledMeeting>, ServiceFailure> reconcile(const HttpOutcome &outcome);
} // namespace ServiceReplies

/// What \p read makes of \p content. In the background: a reply may be megabytes of JSON, and the
/// main thread does not wait for their parsing.
template<class Result, class Content>
QFuture<Result> readInBackground(Result (*read)(const Content &), Content content)
{
    return inBackground([read, content = std::move(content)] { return read(content); });
}
