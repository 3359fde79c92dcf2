#pragma once

#include "platform/Defaults.h"

#include <QJsonObject>

/// The user's settings in one small JSON file, which is replaced at every set.
///
/// A file that cannot be read, or that is not a JSON object, counts as empty and is kept aside when
/// it is first replaced. Members of other types survive.
class JsonDefaults : public Defaults
{
public:
    /// Reads the file at \p path, which need not exist.
    explicit JsonDefaults(const QString &path);

    /// \p fileName in the folder \p identifier of the user's configuration.
    static QString standardPath(const QString &identifier,
                                const QString &fileName = QStringLiteral("settings.json"));

    std::optional<QString> string(const QString &key) const override;
    std::optional<bool> boolean(const QString &key) const override;

    void setString(const QString &key, const QString &value) override;
    void setBoolean(const QString &key, bool value) override;

private:
    void set(const QString &key, const QJsonValue &value);
    bool store();

    QString m_path;
    QJsonObject m_values;
    bool m_fileIsOurs = false; ///< read or written by this object
    bool m_isStored = true;
};
