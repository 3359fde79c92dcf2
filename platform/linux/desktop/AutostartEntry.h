#pragma once

#include "platform/LoginItem.h"

#include <QStringList>

/// Starts the application at login by a desktop entry in the user's autostart folder, as the
/// Desktop Application Autostart Specification 0.5 describes it.
class AutostartEntry : public LoginItem
{
public:
    /// \p path is the entry's file; \p command the program (absolute) and its arguments.
    AutostartEntry(const QString &path, const QStringList &command);

    /// The entry of the application \p identifier in the user's autostart folder.
    static QString standardPath(const QString &identifier);

    /// Writes the entry; one that is there is replaced.
    std::expected<void, Error> registerItem() override;

    /// Removes the entry. Succeeds when there is none.
    std::expected<void, Error> unregisterItem() override;

private:
    QString m_path;
    QStringList m_command;
};
