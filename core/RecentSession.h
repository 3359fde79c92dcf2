#pragma once

#include <QDateTime>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <array>
#include <optional>

/// What kind of session the user is about to record. Never stored.
enum class SessionTag { meeting, interview, notes, call };

inline constexpr std::array sessionTags{SessionTag::meeting, SessionTag::interview,
                                        SessionTag::notes, SessionTag::call};

/// Identifies the tag, and is what the user reads on its chip.
QString rawValue(SessionTag tag);

/// One entry of the recents list.
struct RecentSession {
    enum class Status {
        ready,      ///< not uploading
        processing, ///< an upload is in flight
        failed,     ///< the last upload failed; uploadProgress says why
    };

    QUuid id = QUuid::createUuid();
    QString title;
    QString duration; ///< display text
    qint64 durationSeconds = 0;
    QString when;        ///< display text, relative to the moment when it was made
    QDateTime startedAt; ///< an instant; its time zone carries no meaning
    Status status = Status::ready;
    std::optional<QUrl> fileURL = std::nullopt;
    std::optional<QString> uploadProgress =
        std::nullopt; ///< shown under a processing or failed entry
    std::optional<QString> remoteID =
        std::nullopt; ///< the service's meeting; present once uploaded
    std::optional<QString> clientRecordingId =
        std::nullopt; ///< under which the service knows the recording

    bool isUploaded() const { return remoteID.has_value(); }

    bool operator==(const RecentSession &) const = default;
};

inline constexpr std::array sessionStatuses{
    RecentSession::Status::ready, RecentSession::Status::processing, RecentSession::Status::failed};

/// The status as the recents file spells it.
QString rawValue(RecentSession::Status status);
