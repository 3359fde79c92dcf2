#pragma once

#include <QHash>
#include <QString>

#include <optional>

/// Facts about the installed program, from a small JSON file that is installed with it. Every
/// entry may be missing; a missing or unreadable file has none.
class BundleInformation
{
public:
    BundleInformation() = default;

    /// Reads the file at \p path once. Members that are not strings count as missing.
    static BundleInformation fromFile(const QString &path);

    std::optional<QString> name() const { return value(QStringLiteral("name")); }
    std::optional<QString> shortVersion() const { return value(QStringLiteral("shortVersion")); }
    std::optional<QString> version() const { return value(QStringLiteral("version")); }
    std::optional<QString> identifier() const { return value(QStringLiteral("identifier")); }
    std::optional<QString> serviceOrigin() const { return value(QStringLiteral("serviceOrigin")); }

private:
    std::optional<QString> value(const QString &key) const;

    QHash<QString, QString> m_values;
};
