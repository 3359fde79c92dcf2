#include "cloud/MediaUploader.h"

#include "base/Tasks.h"
#include "cloud/PresentableText.h"
#include "cloud/ServiceReplies.h"
#include "cloud/ServiceRequests.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace
{
/// The service decides how long a key is; a store takes at most 1024 bytes.
QString loggable(const QString &objectKey)
{
    constexpr qsizetype longest = 1024;
    return presentable(objectKey.left(longest));
}

QFuture<HttpRequest> builtInBackground(ServiceOrigin origin, QStringList ids, QString token)
{
    return inBackground(
        [origin = std::move(origin), ids = std::move(ids), token = std::move(token)] {
            const ReconcileMeetingsRequest record{.clientRecordingIds = ids};
            return ServiceRequests::reconcile(origin, record, token);
        });
}
} // namespace

MediaUploader::MediaUploader(ConfiguredOrigin origin, HttpSession &http)
    : m_origin(std::move(origin))
    , m_http(&http)
{
}

QCoro::Task<MediaUploader::Uploaded> MediaUploader::upload(UploadRequest request,
                                                           QString token) const
{
    return uploadWith(*this, std::move(request), std::move(token));
}

// The copy in the frame is what every step works on: the object may be gone by then.
QCoro::Task<MediaUploader::Uploaded> MediaUploader::uploadWith(MediaUploader uploader,
                                                               UploadRequest request, QString token)
{
    const QStringList identifiers(request.clientRecordingId);
    const auto known = co_await uploader.reconcile(identifiers, token);
    if (!known)
        co_return std::unexpected(known.error());
    if (!known->isEmpty()) {
        // Take the identifier as the service sent it, because it was asked for this recording only.
        UploadedMeeting existing{.id = known->first().id, .audioUrl = {}};
        uploader.m_logger.info("meeting already exists id="_L1 + existing.id);
        co_return existing;
    }

    const auto signature = co_await uploader.requestSignedURL(request.fileURL.fileName(), token);
    if (!signature)
        co_return std::unexpected(signature.error());
    uploader.m_logger.info("got signed url, key="_L1 + loggable(signature->objectKey));

    const auto stored = co_await uploader.putToOSS(request.fileURL, signature->uploadURL);
    if (!stored)
        co_return std::unexpected(stored.error());
    uploader.m_logger.info(u"OSS PUT ok"_s);

    const CreateMeetingRequest record{
        .title = request.title,
        .audioUrl = signature->publicURL,
        .durationSeconds = request.durationSeconds,
        .clientRecordingId = request.clientRecordingId,
        .startedAt = request.startedAt,
    };
    const auto id = co_await uploader.createMeeting(record, token);
    if (!id)
        co_return std::unexpected(id.error());
    uploader.m_logger.info("meeting created id="_L1 + *id);
    UploadedMeeting meeting{.id = *id, .audioUrl = signature->publicURL};
    co_return meeting;
}

QCoro::Task<std::expected<QList<ReconciledMeeting>, ServiceFailure>>
MediaUploader::reconcile(QStringList clientRecordingIds, QString token) const
{
    if (!m_origin)
        co_return std::unexpected(m_origin.error());
    clientRecordingIds.removeAll(QString());
    clientRecordingIds.removeDuplicates();
    if (clientRecordingIds.isEmpty())
        co_return QList<ReconciledMeeting>();
    HttpSession &http = *m_http;
    const auto request = co_await builtInBackground(*m_origin, clientRecordingIds, token);
    const HttpOutcome outcome = co_await http.send(request);
    co_return co_await readInBackground(&ServiceReplies::reconcile, outcome);
}

QCoro::Task<std::expected<SignUploadResponse, ServiceFailure>>
MediaUploader::requestSignedURL(QString filename, QString token) const
{
    if (!m_origin)
        co_return std::unexpected(m_origin.error());
    const SignUploadRequest record{.filename = filename};
    const auto request = ServiceRequests::signUpload(*m_origin, record, token);
    const HttpOutcome outcome = co_await m_http->send(request);
    co_return co_await readInBackground(&ServiceReplies::signUpload, outcome);
}

QCoro::Task<std::expected<void, ServiceFailure>> MediaUploader::putToOSS(QUrl fileURL,
                                                                         QString signedURL) const
{
    if (!m_origin)
        co_return std::unexpected(m_origin.error());
    // The recording goes nowhere but where it may: an address that is none, that would show it to
    // the network, or that is a file of this machine, is as good as no address.
    if (!m_origin->allows(signedURL))
        co_return std::unexpected(UploadError(UploadError::Case::invalidResponse));
    // A request without a path would send an empty file, and succeed.
    if (fileURL.toLocalFile().isEmpty()) {
        co_return std::unexpected(
            TransportError(TransportError::Kind::unreadableFile, u"not a local file"_s));
    }
    const auto request = ServiceRequests::objectUpload(signedURL, fileURL.toLocalFile());
    const HttpOutcome outcome = co_await m_http->send(request);
    co_return ServiceReplies::objectUpload(outcome);
}

QCoro::Task<std::expected<QString, ServiceFailure>>
MediaUploader::createMeeting(CreateMeetingRequest record, QString token) const
{
    if (!m_origin)
        co_return std::unexpected(m_origin.error());
    const auto request = ServiceRequests::createMeeting(*m_origin, record, token);
    const HttpOutcome outcome = co_await m_http->send(request);
    co_return co_await readInBackground(&ServiceReplies::createMeeting, outcome);
}
