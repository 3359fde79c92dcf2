#pragma once

#include "cloud/DecodingError.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <expected>
#include <optional>

/// What is sent to the service and what comes back. Values; any thread. Encoding gives compact
/// JSON. Decoding ignores unknown members; a required member that is missing, null or of another
/// kind, and an optional one of another kind, make the reply undecodable. So does an identifier of
/// a meeting, or the address of an account, of more than 1 KiB: both are kept.

struct SignUploadRequest {
    QString filename; ///< without folders
};

struct SignUploadResponse {
    QString uploadURL; ///< where to PUT the file; a credential in itself
    QString publicURL; ///< under which the stored file will be readable
    QString objectKey;
};

struct CreateMeetingRequest {
    QString title;
    QString audioUrl; ///< the publicURL of the stored file
    qint64 durationSeconds = 0;
    QString clientRecordingId;
    QDateTime startedAt; ///< an instant; sent in UTC with milliseconds
};

struct ReconcileMeetingsRequest {
    QStringList clientRecordingIds; ///< no empty ones, none twice
};

/// A meeting that the service already holds.
struct ReconciledMeeting {
    QString id;
    QString clientRecordingId;
    std::optional<QString> status; ///< the service's own word, passed on

    bool operator==(const ReconciledMeeting &) const = default;
};

struct ReconcileMeetingsResponse {
    QList<ReconciledMeeting> meetings;
};

struct MeResponse {
    struct U {
        std::optional<QString> id;
        std::optional<QString> email;
    };
    U user;
};

struct LatestReleaseResponse {
    std::optional<QString> version;
    std::optional<QString> publishedAt;
    std::optional<QString> htmlUrl;
    std::optional<QString> downloadUrl;
    std::optional<QString> notes;
};

QByteArray encoded(const SignUploadRequest &request);
QByteArray encoded(const CreateMeetingRequest &request);
QByteArray encoded(const ReconcileMeetingsRequest &request);

std::expected<SignUploadResponse, DecodingError> decodedSignUpload(const QByteArray &body);
std::expected<ReconcileMeetingsResponse, DecodingError> decodedReconcile(const QByteArray &body);
std::expected<MeResponse, DecodingError> decodedMe(const QByteArray &body);
std::expected<LatestReleaseResponse, DecodingError> decodedLatestRelease(const QByteArray &body);

/// The identifier in a create-meeting reply: a string, or an integer of 64 bits as decimal text, of
/// the member "doc" where that is an object, else of the reply itself. None when there is none.
std::optional<QString> decodedMeetingId(const QByteArray &body);
