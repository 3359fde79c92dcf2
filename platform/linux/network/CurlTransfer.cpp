#include "platform/linux/network/CurlTransfer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// How much of a file is read and handed to the socket at once.
constexpr long uploadBufferBytes = 512 * 1024;

/// Of all headers of a reply, those of the provisional ones before it included.
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

} // namespace

CurlTransfer::CurlTransfer(uint64_t number, HttpRequest request, WebAddress address)
    : m_number(number)
    , m_request(std::move(request))
    , m_address(std::move(address))
{
}

std::expected<CURL *, TransportError> CurlTransfer::prepare(const HttpSettings &settings)
{
    m_settings = settings;
    if (!m_request.bodyFile().isEmpty()) {
        auto file = UploadFile::open(m_request.bodyFile());
        if (!file) {
            return std::unexpected(
                TransportError(TransportError::Kind::unreadableFile, file.error().description()));
        }
        m_file = std::move(*file);
    }
    m_easy.reset(curl_easy_init());
    if (!m_easy || !setHeaders())
        return std::unexpected(TransportError(TransportError::Kind::noConnection, u"memory"_s));
    setConnection();
    setBody();
    m_lastActivity = m_nextLook = Clock::now();
    return easy();
}

void CurlTransfer::setConnection()
{
    CURL *const curl = easy();
    curl_easy_setopt(curl, CURLOPT_URL, m_address.encoded().constData());
    curl_easy_setopt(curl, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "Parlovance");
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, m_errorText.data());
    curl_easy_setopt(curl, CURLOPT_PRIVATE, this);

    const bool mayUseHttp = m_settings.loopbackHttp == WebAddress::LoopbackHttp::allowed;
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, mayUseHttp ? "https,http" : "https");
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(curl, CURLOPT_HTTP09_ALLOWED, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    const QByteArray authority = m_settings.trustedAuthority.toLocal8Bit();
    if (!authority.isEmpty())
        curl_easy_setopt(curl, CURLOPT_CAINFO, authority.constData());
    // Otherwise the proxies that the environment names.
    if (m_address.isLoopback())
        curl_easy_setopt(curl, CURLOPT_PROXY, "");

    // HTTP/2 gains nothing for single requests, and some servers take uploads over it very slowly.
    curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    // A connection of its own for each request: one that is used again may turn out to be dead, and
    // then the request is silently sent a second time.
    curl_easy_setopt(curl, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);

    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    // A name that cannot be looked up in time must not hold up the other requests.
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(m_settings.idleLimit.count()));
    curl_easy_setopt(curl, CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::onOpen);
    curl_easy_setopt(curl, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(curl, CURLOPT_CLOSESOCKETFUNCTION, &CurlTransfer::onClose);
    curl_easy_setopt(curl, CURLOPT_CLOSESOCKETDATA, this);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &CurlTransfer::onReply);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &CurlTransfer::onHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
}

void CurlTransfer::setBody()
{
    CURL *const curl = easy();
    const QByteArray &method = m_request.method();
    if (m_file) {
        curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(curl, CURLOPT_UPLOAD_BUFFERSIZE, uploadBufferBytes);
        curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE,
                         static_cast<curl_off_t>(m_file->sizeBytes()));
        curl_easy_setopt(curl, CURLOPT_READFUNCTION, &CurlTransfer::onFile);
        curl_easy_setopt(curl, CURLOPT_READDATA, this);
    } else if (!m_request.body().isEmpty() || method == "POST" || method == "PUT") {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(m_request.body().size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, m_request.body().constData());
    }
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.constData());
}

/// False when there is no memory.
bool CurlTransfer::setHeaders()
{
    // Expect would wait a second for a server that does not know it. A form is what curl takes a
    // body for that has no type.
    QList<QByteArray> lines{"Expect:", "Content-Type:"};
    for (const HttpRequest::Header &header : m_request.headers()) {
        if (header.name.compare("Content-Type", Qt::CaseInsensitive) == 0)
            lines.removeAll("Content-Type:");
        lines.append(header.value.isEmpty() ? header.name + ';'
                                            : header.name + ": " + header.value);
    }
    for (const QByteArray &line : std::as_const(lines)) {
        curl_slist *const longer = curl_slist_append(m_headers.get(), line.constData());
        if (!longer)
            return false;
        std::ignore = m_headers.release(); // it is the beginning of the longer one
        m_headers.reset(longer);
    }
    return curl_easy_setopt(easy(), CURLOPT_HTTPHEADER, m_headers.get()) == CURLE_OK;
}

HttpOutcome CurlTransfer::outcome(CURLcode code)
{
    if (code != CURLE_OK && !m_isCutShort)
        return std::unexpected(failure(code));
    // To curl a connection that ends amid the headers is the end of the reply.
    if (!m_isHeadWhole || status() < 200) {
        return std::unexpected(
            TransportError(TransportError::Kind::brokenReply, u"the reply ended in its headers"_s));
    }
    if (!isSuccess())
        concealCredentials();
    else if (m_isCutShort)
        m_reply.clear();
    return HttpReply(status(), std::move(m_reply));
}

/// What an error page repeats of the request must not get to where its text is shown or kept.
void CurlTransfer::concealCredentials()
{
    // What is shorter is no secret, and stands in many a text by chance.
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

TransportError CurlTransfer::failure(CURLcode code) const
{
    if (m_ownFailure)
        return *m_ownFailure;
    const char *const text = m_errorText[0] != '\0' ? m_errorText.data() : curl_easy_strerror(code);
    return TransportError(kindOf(code), QString::fromUtf8(text));
}

void CurlTransfer::resume()
{
    if (std::exchange(m_isHeldBack, false))
        curl_easy_pause(easy(), CURLPAUSE_CONT);
}

bool CurlTransfer::hasStalled(Clock::time_point now)
{
    if (now < m_nextLook)
        return false;
    curl_off_t sent = 0;
    curl_off_t received = 0;
    curl_easy_getinfo(easy(), CURLINFO_SIZE_UPLOAD_T, &sent);
    curl_easy_getinfo(easy(), CURLINFO_SIZE_DOWNLOAD_T, &received);
    const uint64_t bytes =
        m_traffic.bytes() + static_cast<uint64_t>(sent) + static_cast<uint64_t>(received);
    if (bytes != m_seenBytes) {
        m_seenBytes = bytes;
        m_lastActivity = now;
    }
    const Clock::time_point limit = m_lastActivity + m_settings.idleLimit;
    m_nextLook = std::min(now + m_settings.idleLimit / 20, limit);
    return now >= limit;
}

size_t CurlTransfer::takeReply(const char *data, size_t size)
{
    // What a store says when it has taken a file is for nobody, however long it is.
    if (m_file && isSuccess())
        return size;
    if (static_cast<size_t>(m_settings.replyLimitBytes - m_reply.size()) < size) {
        m_isCutShort = true;
        return 0;
    }
    m_reply.append(data, static_cast<qsizetype>(size));
    return size;
}

size_t CurlTransfer::takeHeader(std::string_view line)
{
    if (line.starts_with("HTTP/"))
        m_isHeadWhole = false;
    else if (line == "\r\n" || line == "\n")
        m_isHeadWhole = true;
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
    const auto count = m_file->read(target);
    if (!count) {
        m_ownFailure.emplace(TransportError::Kind::unreadableFile, count.error().description());
        return CURL_READFUNC_ABORT;
    }
    // A server that refuses early closes the connection right behind its reply. Sending on would
    // run into that, and curl would report the reset and not the reply. Asked last, to be sure.
    if (m_traffic.hasInput()) {
        m_file->unread(*count);
        m_isHeldBack = true;
        return CURL_READFUNC_PAUSE;
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
