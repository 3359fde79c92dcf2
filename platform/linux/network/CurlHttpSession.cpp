#include "platform/linux/network/CurlHttpSession.h"

#include "platform/linux/network/CurlLoop.h"

#include <QCoroFuture>
#include <QFuture>
#include <QPromise>
#include <QSocketNotifier>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

bool isControl(char byte)
{
    return (byte >= 0 && byte < ' ' && byte != '\t') || byte == '\x7f';
}

/// RFC 9110, 5.6.2: what the names of methods and headers consist of.
bool isToken(const QByteArray &text)
{
    const auto belongs = [](char byte) {
        return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
               (byte >= 'a' && byte <= 'z') || QByteArrayView("!#$%&'*+-.^_`|~").contains(byte);
    };
    return !text.isEmpty() && std::ranges::all_of(text, belongs);
}

/// A line break in a value would begin a header, or a request, of somebody else's making.
bool hasSafeHeaders(const HttpRequest &request)
{
    return isToken(request.method()) &&
           std::ranges::all_of(request.headers(), [](const auto &header) {
               return isToken(header.name) && std::ranges::none_of(header.value, isControl);
           });
}

} // namespace

CurlHttpSession::CurlHttpSession(const HttpSettings &settings)
    : m_loopbackHttp(settings.loopbackHttp)
    , m_loop(std::make_unique<CurlLoop>(settings))
    , m_notifier(
          std::make_unique<QSocketNotifier>(m_loop->resultsDescriptor(), QSocketNotifier::Read))
{
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { deliver(); });
}

CurlHttpSession::~CurlHttpSession()
{
    m_notifier.reset();
    m_loop.reset();
    for (const auto &[number, promise] : m_inFlight) {
        promise->addResult(std::unexpected(TransportError(TransportError::Kind::cancelled, {})));
        promise->finish();
    }
}

QCoro::Task<HttpOutcome> CurlHttpSession::send(HttpRequest request)
{
    const auto address = WebAddress::parse(request.address(), m_loopbackHttp);
    if (!address) {
        co_return std::unexpected(
            TransportError(TransportError::Kind::refusedAddress, address.error().description()));
    }
    if (!hasSafeHeaders(request)) {
        co_return std::unexpected(TransportError(TransportError::Kind::refusedHeader,
                                                 u"control character in a header"_s));
    }
    const uint64_t number = ++m_lastNumber;
    auto promise = std::make_unique<QPromise<HttpOutcome>>();
    const QFuture<HttpOutcome> future = promise->future();
    promise->start();
    m_inFlight.emplace(number, std::move(promise));
    m_loop->start(std::make_unique<CurlTransfer>(number, std::move(request), *address));
    // The session may be gone after this line.
    const HttpOutcome outcome = co_await future;
    co_return outcome;
}

/// Results to their tasks, which resume in later turns of the main loop.
void CurlHttpSession::deliver()
{
    for (CurlLoop::Result &result : m_loop->takeResults()) {
        const auto found = m_inFlight.find(result.number);
        if (found == m_inFlight.end())
            continue;
        const auto promise = std::move(found->second);
        m_inFlight.erase(found);
        promise->addResult(std::move(result.outcome));
        promise->finish();
    }
}
