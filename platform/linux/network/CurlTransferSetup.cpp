#include "platform/linux/network/CurlTransfer.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace
{
/// How much of a file is read and handed to the socket at once: one record of TLS. Between two of
/// them we look whether something has come in.
constexpr long uploadBufferBytes = 16 * 1024;
} // namespace

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
    curl_easy_setopt(curl, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L); // a proxy's are not the reply's
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    const QByteArray authority = m_settings.trustedAuthority.toLocal8Bit();
    if (!authority.isEmpty())
        curl_easy_setopt(curl, CURLOPT_CAINFO, authority.constData());
    // Every other address goes through the proxies that the environment names.
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
