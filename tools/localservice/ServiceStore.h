#pragma once

#include <QFileDevice>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <mutex>
#include <optional>

/// Accounts, meetings and stored objects of the local service, in one folder. Nobody but its user
/// can read them. Any thread.
class ServiceStore
{
public:
    static constexpr QFileDevice::Permissions privateFile =
        QFileDevice::ReadOwner | QFileDevice::WriteOwner;

    /// Takes up what an earlier run left in \p folder, which is made when it is missing.
    explicit ServiceStore(const QString &folder);

    /// A new token of the account \p email.
    QString signIn(const QString &email);

    /// The token counts as unknown from now on.
    void revoke(const QString &token);

    std::optional<QString> emailOf(const QString &token) const;

    /// The meeting made of \p request, or the one that the account already has for its recording.
    QJsonObject createMeeting(const QString &email, const QJsonObject &request);

    /// The meetings of an account that were made from those recordings.
    QJsonArray meetingsOf(const QString &email, const QJsonArray &clientRecordingIds) const;

    std::optional<QJsonObject> meeting(const QString &id) const;

    /// All of them, or those of an account, the newest first.
    QJsonArray meetings(const std::optional<QString> &email = std::nullopt) const;

    /// A key for a new object, and the signature with which it may be stored once.
    struct Place {
        QString key;
        QString signature;
    };
    Place newPlace();
    bool usePlace(const Place &place);

    /// Where the object is; empty for what cannot be a key of ours.
    QString objectPath(const QString &key) const;

private:
    void save() const;

    QString m_folder;
    mutable std::mutex m_mutex;
    QJsonObject m_accounts; ///< e-mail by token
    QJsonArray m_meetings;
    QHash<QString, QString> m_places; ///< signature by key
};
