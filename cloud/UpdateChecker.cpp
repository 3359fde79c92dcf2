#include "cloud/UpdateChecker.h"

#include "cloud/PresentableText.h"
#include "cloud/ServiceReplies.h"
#include "cloud/ServiceRequests.h"
#include "cloud/UpdateAlert.h"
#include "platform/Clock.h"
#include "platform/Workspace.h"

#include <QPointer>

#include <algorithm>
#include <charconv>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{
/// A longer text is no version; it would be shown, logged and compared on the main thread.
constexpr qsizetype maxVersionLength = 100;

std::optional<qint64> integer(QByteArrayView piece)
{
    // from_chars takes a minus sign, but no plus sign.
    if (piece.startsWith('+') && piece.size() > 1 && piece.at(1) != '-')
        piece = piece.sliced(1);
    qint64 number = 0;
    const auto [end, error] = std::from_chars(piece.begin(), piece.end(), number);
    return error == std::errc() && end == piece.end() ? std::optional(number) : std::nullopt;
}

std::vector<qint64> numbers(const QString &version)
{
    const QByteArray text = version.toUtf8();
    std::vector<qint64> result;
    for (const QByteArray &piece : text.split('.')) {
        if (const auto number = integer(piece))
            result.push_back(*number);
    }
    return result;
}
} // namespace

UpdateChecker::UpdateChecker(ConfiguredOrigin origin, BundleInformation bundle,
                             Dependencies dependencies, QObject *parent)
    : QObject(parent)
    , m_origin(std::move(origin))
    , m_bundle(std::move(bundle))
    , m_dependencies(dependencies)
{
}

UpdateChecker::~UpdateChecker() = default;

QString UpdateChecker::currentVersion() const
{
    return m_bundle.shortVersion().value_or(m_bundle.version().value_or(u"0.0.0"_s));
}

bool UpdateChecker::isNewer(const QString &candidate, const QString &reference)
{
    auto candidateNumbers = numbers(candidate);
    auto referenceNumbers = numbers(reference);
    const auto length = std::max(candidateNumbers.size(), referenceNumbers.size());
    candidateNumbers.resize(length);
    referenceNumbers.resize(length);
    return candidateNumbers > referenceNumbers;
}

QCoro::Task<> UpdateChecker::check(bool presentAlert)
{
    const QPointer self(this);
    setStatus(Status::Kind::checking);
    const auto release = co_await fetchRelease(m_origin, &m_dependencies.http);
    if (!self)
        co_return;
    if (!release) {
        m_logger.error("update check failed: "_L1 + release.error());
        setStatus(Status::Kind::failed, release.error());
        co_return;
    }
    m_lastCheckedAt = m_dependencies.clock.now();
    m_latestVersion = release->version;
    if (!judge(*release) || !presentAlert || m_alertedVersion == release->version)
        co_return;
    m_alertedVersion = release->version;
    co_await presentUpdateAlert(*release->version);
}

/// The release, without a version that cannot be one, or the sentence for the user.
QCoro::Task<UpdateChecker::Release> UpdateChecker::fetchRelease(ConfiguredOrigin origin,
                                                                HttpSession *http)
{
    if (!origin)
        co_return std::unexpected(origin.error().description());
    const auto request = ServiceRequests::latestRelease(*origin);
    const HttpOutcome outcome = co_await http->send(request);
    if (!outcome)
        co_return std::unexpected(outcome.error().description());
    if (!outcome->isSuccess())
        co_return std::unexpected(u"服务器的回复无效"_s);
    auto release = co_await readInBackground(&decodedLatestRelease, outcome->body());
    if (!release)
        co_return std::unexpected(release.error().description());
    if (release->version && release->version->size() > maxVersionLength)
        release->version.reset();
    co_return std::move(*release);
}

/// Sets the status that \p release means. Whether it is newer than what runs.
bool UpdateChecker::judge(const LatestReleaseResponse &release)
{
    const QString version = release.version.value_or(QString());
    if (version.isEmpty()) {
        m_logger.error(u"server returned null version; check GITHUB_TOKEN on web side"_s);
        setStatus(Status::Kind::failed, u"无法获取版本信息"_s);
        return false;
    }
    if (!isNewer(version, currentVersion())) {
        m_logger.info(u"up to date (current=%1, latest=%2)"_s.arg(currentVersion(), version));
        setStatus(Status::Kind::upToDate);
        return false;
    }
    m_logger.info(u"update available: %1 > %2"_s.arg(version, currentVersion()));
    setStatus(Status::Kind::updateAvailable, version);
    return true;
}

QCoro::Task<> UpdateChecker::presentUpdateAlert(QString version)
{
    const QPointer self(this);
    const QString title = "Parlovance "_L1 + presentable(version) + u" 可用"_s;
    const QString text = u"你当前使用的是 v"_s + currentVersion() +
                         u"。下载新版后，把图标拖到 Applications 替换即可。"_s;
    const QStringList buttons{u"前往下载"_s, u"稍后"_s};
    const int answer = co_await m_dependencies.alert.present(title, text, buttons);
    if (!self || answer != 0)
        co_return;
    // Always the page of the origin, which was good enough to send the check: addresses in the
    // reply are not needed, and would be opened on the word of a server.
    m_dependencies.workspace.openAddress(m_origin->downloadPage());
}

void UpdateChecker::setStatus(Status::Kind kind, const QString &text)
{
    m_status = Status{.kind = kind, .text = text};
    Q_EMIT changed();
}
