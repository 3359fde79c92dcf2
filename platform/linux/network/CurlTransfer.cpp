#include "platform/linux/network/CurlTransfer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <bit>

using namespace Qt::StringLiterals;

namespace
{

/// How long a store has to refuse an upload by its head before the file follows.
constexpr std::chrono::milliseconds refusalTime{300};

/// How long we read what a store says after it has taken a file.
constexpr std::chrono::seconds thanksLimit{2};

/// The most bytes of all headers of a reply, those of the provisional replies before it included.
constexpr size_t headerLimitBytes = 256 * 1024;

CurlTransfer *transfer(void *self)
{
    return static_cast<CurlTransfer *>(self);
}

TransportError::Kind kindOf(CURLcode code)
{
    using enum TransportError::Kind;
    switch (code) {
    case CURLE_URL_MALFORMAT:
        return refusedAddress;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PROXY:
        return noConnection;
    case CURLE_OPERATION_TIMEDOUT:
        return timedOut;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return untrusted;
    default:
        return brokenReply;
    }
}

/// How many bytes of \p text there are without a character of UTF-8 that is cut off at its end.
qsizetype wholeCharacters(QByteArrayView text)
{
    for (qsizetype tail = 1; tail <= std::min(text.size(), qsizetype{3}); ++tail) {
        const auto byte = static_cast<uint8_t>(text[text.size() - tail]);
        const bool isContinued = (byte & 0xc0) == 0x80;
        if (!isContinued)
            return std::countl_one(byte) > tail ? text.size() - tail : text.size();
    }
    return text.size();
}

} // namespace

CurlTransfer::CurlTransfer(uint64_t number, HttpRequest request, WebAddress address)
    : m_number(number)
    , m_request(std::move(request))
    , m_address(std::move(address))
{
}

HttpOutcome CurlTransfer::outcome(CURLcode code)
{
    if (code != CURLE_OK && !m_isCutShort && !isStored())
        return std::unexpected(failure(code));
    // To curl a connection that ends amid the headers is the end of the reply.
    if (!m_isHeadWhole) {
        return std::unexpected(
            TransportError(TransportError::Kind::brokenReply, u"the reply ended in its headers"_s));
    }
    // curl is content with a success that comes early and closes the connection.
    if (m_file && isSuccess() && !isStored()) {
        return std::unexpected(TransportError(TransportError::Kind::brokenReply,
                                              u"the reply came before the end of the file"_s));
    }
    if (m_isCutShort)
        m_reply.truncate(isSuccess() ? 0 : wholeCharacters(m_reply));
    if (!isSuccess())
        concealCredentials();
    return HttpReply(status(), std::move(m_reply));
}

/// Hides the token: an error page may repeat the request, and its text is shown and logged.
void CurlTransfer::concealCredentials()
{
    // A shorter text is no secret, and stands in many a page by chance.
    constexpr qsizetype shortestSecret = 8;
    for (const HttpRequest::Header &header : m_request.headers()) {
        const QByteArray credentials = header.value.mid(header.value.indexOf(' ') + 1);
        if (header.name.compare("Authorization", Qt::CaseInsensitive) == 0 &&
            credentials.size() >= shortestSecret)
            m_reply.replace(credentials, "***");
    }
}

int CurlTransfer::status() const
{
    long status = 0;
    curl_easy_getinfo(easy(), CURLINFO_RESPONSE_CODE, &status);
    return static_cast<int>(status);
}

bool CurlTransfer::isSuccess() const
{
    return HttpReply(status(), {}).isSuccess();
}

/// Whether the other side has taken the whole file, and said so.
bool CurlTransfer::isStored() const
{
    return m_file && m_isHeadWhole && isSuccess() && fileBytesSent() == m_file->sizeBytes();
}

int64_t CurlTransfer::fileBytesSent() const
{
    curl_off_t sent = 0;
    curl_easy_getinfo(easy(), CURLINFO_SIZE_UPLOAD_T, &sent);
    return sent;
}

TransportError CurlTransfer::failure(CURLcode code) const
{
    if (m_ownFailure)
        return *m_ownFailure;
    // A single header line above curl's own limit; newer ones call that CURLE_TOO_LARGE.
    if (!m_isHeadWhole && (code == CURLE_OUT_OF_MEMORY || static_cast<int>(code) == 100))
        return TransportError(kindOf(code), u"a header is too long"_s);
    const char *const text = m_errorText[0] != '\0' ? m_errorText.data() : curl_easy_strerror(code);
    return TransportError(kindOf(code), QString::fromUtf8(text));
}

void CurlTransfer::resume(Clock::time_point now)
{
    if (!m_heldUntil || (now < *m_heldUntil && !m_isHeadWhole))
        return;
    m_heldUntil.reset();
    curl_easy_pause(easy(), CURLPAUSE_CONT);
}

size_t CurlTransfer::holdBack(Clock::duration duration)
{
    m_heldUntil = Clock::now() + duration;
    return CURL_READFUNC_PAUSE;
}

bool CurlTransfer::hasStalled(Clock::time_point now)
{
    if (now < m_nextLook)
        return false;
    const uint64_t bytes = movedBytes();
    if (bytes != m_seenBytes) {
        m_seenBytes = bytes;
        m_lastActivity = now;
    }
    if (!m_storedAt && isStored())
        m_storedAt = now;
    const Clock::time_point limit =
        m_storedAt ? *m_storedAt + thanksLimit : m_lastActivity + m_settings.idleLimit;
    m_nextLook = std::min(now + m_settings.idleLimit / 20, limit);
    return now >= limit;
}

/// In both directions; only of the file where the reply has begun, which may trickle without end.
uint64_t CurlTransfer::movedBytes() const
{
    const uint64_t sent = m_traffic.acknowledgedBytes() + static_cast<uint64_t>(fileBytesSent());
    if (m_file && m_isHeadWhole && isSuccess())
        return sent;
    curl_off_t received = 0;
    curl_easy_getinfo(easy(), CURLINFO_SIZE_DOWNLOAD_T, &received);
    return sent + m_traffic.receivedBytes() + static_cast<uint64_t>(received);
}

size_t CurlTransfer::takeReply(const char *data, size_t size)
{
    // Nobody reads what a store says after it has taken a file, however long it is.
    if (m_file && isSuccess())
        return size;
    const qsizetype kept =
        std::min(m_settings.replyLimitBytes - m_reply.size(), static_cast<qsizetype>(size));
    m_reply.append(data, kept);
    m_isCutShort = kept < static_cast<qsizetype>(size);
    return static_cast<size_t>(kept);
}

size_t CurlTransfer::takeHeader(std::string_view line)
{
    // Behind the head of a reply that is not provisional there are only trailers.
    if (line == "\r\n" || line == "\n")
        m_isHeadWhole = m_isHeadWhole || status() >= 200;
    m_headerBytes += line.size();
    if (m_headerBytes > headerLimitBytes) {
        m_ownFailure.emplace(TransportError::Kind::brokenReply,
                             u"more than %1 bytes of headers"_s.arg(headerLimitBytes));
        return 0;
    }
    return line.size();
}

size_t CurlTransfer::giveFile(std::span<char> target)
{
    // A store refuses by the head of the request, and closes. The file waits for that, because a
    // reset that comes while a piece of it is encrypted and sent hides the refusal. A plain
    // connection needs no wait: there hardly any time lies between our last look and the sending.
    if (!std::exchange(m_isBodyBegun, true) &&
        m_address.encoded().first(5).compare("https", Qt::CaseInsensitive) == 0)
        return holdBack(refusalTime);
    const auto count = m_file->read(target);
    if (!count) {
        m_ownFailure.emplace(TransportError::Kind::unreadableFile, count.error().description());
        return CURL_READFUNC_ABORT;
    }
    // A server that refuses early closes the connection right behind its reply. Sending on would
    // run into that, and curl would report the reset and not the reply. Asked last, to be sure.
    // Behind the head of a success curl leaves alone what else comes in.
    if (!m_isHeadWhole && m_traffic.hasInput()) {
        m_file->unread(*count);
        return holdBack({});
    }
    return *count;
}

size_t CurlTransfer::onReply(char *data, size_t size, size_t count, void *self)
{
    return transfer(self)->takeReply(data, size * count);
}

size_t CurlTransfer::onHeader(char *data, size_t size, size_t count, void *self)
{
    return transfer(self)->takeHeader({data, size * count});
}

size_t CurlTransfer::onFile(char *target, size_t size, size_t count, void *self)
{
    return transfer(self)->giveFile({target, size * count});
}

curl_socket_t CurlTransfer::onOpen(void *self, curlsocktype, curl_sockaddr *address)
{
    const int opened =
        ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (opened < 0)
        return CURL_SOCKET_BAD;
    transfer(self)->m_traffic.add(opened);
    return opened;
}

int CurlTransfer::onClose(void *self, curl_socket_t socket)
{
    transfer(self)->m_traffic.remove(socket);
    return ::close(socket);
}
