#pragma once

#include "base/Logger.h"
#include "cloud/ServiceOrigin.h"
#include "platform/BundleInformation.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QString>

#include <expected>
#include <optional>

class Clock;
class HttpSession;
class UpdateAlert;
class Workspace;
struct LatestReleaseResponse;

/// Asks the service for the newest release, compares it with the running version and, where that is
/// wanted, tells the user once for each version. Stores nothing; checks only when it is told to.
/// Main thread.
class UpdateChecker : public QObject
{
    Q_OBJECT

public:
    struct Status {
        enum class Kind {
            idle,            ///< no check has run
            checking,        ///< a check is under way
            upToDate,        ///< the service's version is not newer
            updateAvailable, ///< with the version as the service wrote it
            failed,          ///< with a message for the user
        };

        Kind kind = Kind::idle;
        QString text = {};

        bool operator==(const Status &) const = default;
    };

    /// The parts that the checker works with; all of them must outlive it.
    struct Dependencies {
        HttpSession &http;
        Workspace &workspace;
        const Clock &clock;
        UpdateAlert &alert;
    };

    UpdateChecker(ConfiguredOrigin origin, BundleInformation bundle, Dependencies dependencies,
                  QObject *parent = nullptr);
    ~UpdateChecker() override;

    const Status &status() const { return m_status; }

    /// The notes of the last reply that could be read; none where it had none, or more than 100
    /// characters.
    const std::optional<QString> &latestVersion() const { return m_latestVersion; }

    /// When the last reply was read.
    const std::optional<QDateTime> &lastCheckedAt() const { return m_lastCheckedAt; }

    /// "0.0.0" where the installed program does not say.
    QString currentVersion() const;

    /// Checks once. Completes after the user has answered, where \p presentAlert lets a newer
    /// version be announced. Checks may overlap; the one that ends last has the last word.
    QCoro::Task<> check(bool presentAlert);

    /// Compares dotted numbers; a missing one counts as 0. A piece that is no integer of 64 bits is
    /// left out, not counted as 0.
    static bool isNewer(const QString &candidate, const QString &reference);

Q_SIGNALS:
    void changed();

private:
    using Release = std::expected<LatestReleaseResponse, QString>;

    static QCoro::Task<Release> fetchRelease(ConfiguredOrigin origin, HttpSession *http);
    void setStatus(Status::Kind kind, const QString &text = {});
    bool judge(const LatestReleaseResponse &release);
    QCoro::Task<> presentUpdateAlert(QString version);

    const ConfiguredOrigin m_origin;
    const BundleInformation m_bundle;
    const Dependencies m_dependencies;
    Logger m_logger{"update"};
    Status m_status;
    std::optional<QString> m_latestVersion;
    std::optional<QDateTime> m_lastCheckedAt;
    std::optional<QString> m_alertedVersion; // announced by this process
};
