#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>

/// One attempt to open a page in the default browser: by the desktop portal, and where there is
/// none by xdg-open. Ends when its outcome is known. Main thread.
class BrowserOpening : public QObject
{
    Q_OBJECT

public:
    /// For as long as \p owner lives. \p failed is called when no browser could be opened.
    static void start(QObject &owner, const QString &address, std::function<void()> failed);

private Q_SLOTS:
    void handleResponse(uint response, const QVariantMap &results);

private:
    BrowserOpening(QString address, std::function<void()> failed, QObject *parent);

    void askPortal();
    void runCommand();
    void end(bool hasFailed);

    const QString m_address;
    const std::function<void()> m_failed;
};
