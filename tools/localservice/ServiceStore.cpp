#include "tools/localservice/ServiceStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSaveFile>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace
{
QString newName()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}
} // namespace

ServiceStore::ServiceStore(const QString &folder)
    : m_folder(folder)
{
    constexpr QFileDevice::Permissions privateFolder = privateFile | QFileDevice::ExeOwner;
    // One that is there already may hold other things, too.
    QDir().mkpath(QFileInfo(m_folder).absolutePath());
    QDir().mkdir(m_folder, privateFolder);
    QDir().mkdir(m_folder + u"/objects"_s, privateFolder);
    QFile::setPermissions(m_folder + u"/objects"_s, privateFolder);
    QFile file(m_folder + u"/service.json"_s);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
    m_accounts = object[u"accounts"_s].toObject();
    m_meetings = object[u"meetings"_s].toArray();
}

QString ServiceStore::signIn(const QString &email)
{
    const std::scoped_lock lock(m_mutex);
    const QString token = newName();
    m_accounts[token] = email;
    save();
    return token;
}

void ServiceStore::revoke(const QString &token)
{
    const std::scoped_lock lock(m_mutex);
    m_accounts.remove(token);
    save();
}

std::optional<QString> ServiceStore::emailOf(const QString &token) const
{
    const std::scoped_lock lock(m_mutex);
    const auto found = m_accounts.find(token);
    return found == m_accounts.end() ? std::nullopt : std::optional(found->toString());
}

QJsonObject ServiceStore::createMeeting(const QString &email, const QJsonObject &request)
{
    const QString recording = request[u"clientRecordingId"_s].toString();
    const std::scoped_lock lock(m_mutex);
    for (const auto &meeting : std::as_const(m_meetings)) {
        if (!recording.isEmpty() && meeting[u"account"_s] == email &&
            meeting[u"clientRecordingId"_s] == recording)
            return meeting.toObject();
    }
    QJsonObject meeting = request;
    meeting[u"id"_s] = newName();
    meeting[u"account"_s] = email;
    m_meetings.prepend(meeting);
    save();
    return meeting;
}

QJsonArray ServiceStore::meetingsOf(const QString &email,
                                    const QJsonArray &clientRecordingIds) const
{
    const std::scoped_lock lock(m_mutex);
    QJsonArray found;
    for (const auto &meeting : m_meetings) {
        const QJsonValue recording = meeting[u"clientRecordingId"_s];
        if (meeting[u"account"_s] != email || !clientRecordingIds.contains(recording))
            continue;
        found.append(QJsonObject{{u"id"_s, meeting[u"id"_s]},
                                 {u"clientRecordingId"_s, recording},
                                 {u"status"_s, meeting[u"status"_s]}});
    }
    return found;
}

std::optional<QJsonObject> ServiceStore::meeting(const QString &id) const
{
    const std::scoped_lock lock(m_mutex);
    for (const auto &meeting : m_meetings) {
        if (meeting[u"id"_s] == id)
            return meeting.toObject();
    }
    return std::nullopt;
}

QJsonArray ServiceStore::meetings(const std::optional<QString> &email) const
{
    const std::scoped_lock lock(m_mutex);
    if (!email)
        return m_meetings;
    QJsonArray own;
    for (const auto &meeting : m_meetings) {
        if (meeting[u"account"_s] == *email)
            own.append(meeting);
    }
    return own;
}

ServiceStore::Place ServiceStore::newPlace()
{
    const std::scoped_lock lock(m_mutex);
    const Place place{.key = newName() + u".m4a"_s, .signature = newName()};
    m_places.insert(place.key, place.signature);
    return place;
}

bool ServiceStore::usePlace(const Place &place)
{
    const std::scoped_lock lock(m_mutex);
    const auto found = m_places.constFind(place.key);
    if (found == m_places.constEnd() || *found != place.signature)
        return false;
    m_places.erase(found);
    return true;
}

QString ServiceStore::objectPath(const QString &key) const
{
    static const QRegularExpression ours(uR"(^[0-9a-f-]{36}\.m4a$)"_s);
    return ours.match(key).hasMatch() ? m_folder + u"/objects/"_s + key : QString();
}

void ServiceStore::save() const
{
    QSaveFile file(m_folder + u"/service.json"_s);
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(privateFile))
        return;
    file.write(QJsonDocument({{u"accounts"_s, m_accounts}, {u"meetings"_s, m_meetings}}).toJson());
    file.commit();
}
