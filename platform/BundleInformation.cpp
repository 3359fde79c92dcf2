#include "platform/BundleInformation.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

BundleInformation BundleInformation::fromFile(const QString &path)
{
    BundleInformation information;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return information;
    const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
    for (auto member = object.begin(); member != object.end(); ++member) {
        if (member->isString())
            information.m_values.insert(member.key(), member->toString());
    }
    return information;
}

std::optional<QString> BundleInformation::value(const QString &key) const
{
    const auto found = m_values.find(key);
    return found == m_values.end() ? std::nullopt : std::optional(*found);
}
