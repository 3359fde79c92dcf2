#pragma once

#include "base/Logger.h"
#include "cloud/ServiceFailure.h"
#include "cloud/ServiceOrigin.h"
#include "cloud/ServiceRecords.h"

#include <QCoroTask>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <expected>

class HttpSession;

/// One recording to upload.
struct UploadRequest {
    QUrl fileURL; ///< a local file
    QString title;
    qint64 durationSeconds = 0;
    QDateTime startedAt;
    QString clientRecordingId; ///< under which the service knows the recording
};

struct UploadedMeeting {
    QString id;       ///< the service's identifier
    QString audioUrl; ///< of the stored file; empty where the meeting existed already
};

/// Turns finished recordings into meetings of the web service. A value without state of its own:
/// any number of calls may run at once, and each goes on when the object is gone. Called on the
/// main thread; long replies are read in the background.
///
/// Nothing is retried, and nothing is undone: a stored file whose meeting could not be made stays
/// where it is, and the next attempt stores it again.
class MediaUploader
{
public:
    /// \p http must outlive every call.
    MediaUploader(ConfiguredOrigin origin, HttpSession &http);

    /// Does nothing but look where the service already holds the recording; otherwise stores the
    /// file, streamed from disk, and makes the meeting. \p token as ServiceRequests takes it.
    QCoro::Task<std::expected<UploadedMeeting, ServiceFailure>> upload(UploadRequest request,
                                                                       QString token) const;

    /// The meetings that the service holds for the given identifiers. Empty ones and repetitions
    /// are left out; where none remain nothing is sent.
    QCoro::Task<std::expected<QList<ReconciledMeeting>, ServiceFailure>>
    reconcile(QStringList clientRecordingIds, QString token) const;

private:
    using Uploaded = std::expected<UploadedMeeting, ServiceFailure>;

    static QCoro::Task<Uploaded> uploadWith(MediaUploader uploader, UploadRequest request,
                                            QString token);

    // These tasks do not touch the object after their first wait: it may be gone by then.
    QCoro::Task<std::expected<SignUploadResponse, ServiceFailure>>
    requestSignedURL(QString filename, QString token) const;
    QCoro::Task<std::expected<void, ServiceFailure>> putToOSS(QUrl fileURL,
                                                              QString signedURL) const;
    QCoro::Task<std::expected<QString, ServiceFailure>> createMeeting(CreateMeetingRequest record,
                                                                      QString token) const;

    ConfiguredOrigin m_origin;
    HttpSession *m_http;
    Logger m_logger{"upload"};
};
