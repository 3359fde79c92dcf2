#pragma once

#include "platform/HttpSession.h"
#include "platform/linux/network/CurlHandles.h"
#include "platform/linux/network/HttpSettings.h"
#include "platform/linux/network/SocketTraffic.h"
#include "platform/linux/network/UploadFile.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string_view>

/// One request on its way. Made on the main thread, then used on the network thread alone.
class CurlTransfer
{
public:
    using Clock = std::chrono::steady_clock;

    CurlTransfer(uint64_t number, HttpRequest request, WebAddress address);

    CurlTransfer(const CurlTransfer &) = delete;
    CurlTransfer &operator=(const CurlTransfer &) = delete;

    /// The number by which the session knows the request again.
    uint64_t number() const { return m_number; }

    /// Opens the file and sets the handle up; nothing is sent yet.
    std::expected<CURL *, TransportError> prepare(const HttpSettings &settings);

    CURL *easy() const { return m_easy.get(); }

    /// The outcome to report when curl has ended with \p code.
    HttpOutcome outcome(CURLcode code);

    /// Goes on with an upload that was held back for what comes in.
    void resume(Clock::time_point now);

    /// Whether nothing moved for the limit, or a store that has the whole file goes on talking. To
    /// be asked again by nextLook() at the latest.
    bool hasStalled(Clock::time_point now);
    Clock::time_point nextLook() const
    {
        return m_heldUntil ? std::min(*m_heldUntil, m_nextLook) : m_nextLook;
    }

private:
    void setConnection();
    void setBody();
    bool setHeaders();
    int status() const;
    bool isSuccess() const;
    bool isStored() const;
    int64_t fileBytesSent() const;
    uint64_t movedBytes() const;
    size_t takeReply(const char *data, size_t size);
    size_t takeHeader(std::string_view line);
    size_t giveFile(std::span<char> target);
    size_t holdBack(Clock::duration duration);
    TransportError failure(CURLcode code) const;
    void concealCredentials();

    static size_t onReply(char *data, size_t size, size_t count, void *self);
    static size_t onHeader(char *data, size_t size, size_t count, void *self);
    static size_t onFile(char *target, size_t size, size_t count, void *self);
    static curl_socket_t onOpen(void *self, curlsocktype purpose, curl_sockaddr *address);
    static int onClose(void *self, curl_socket_t socket);

    uint64_t m_number;
    HttpRequest m_request;
    WebAddress m_address;
    HttpSettings m_settings;

    std::optional<UploadFile> m_file;
    std::optional<TransportError> m_ownFailure; ///< why one of the callbacks ended the transfer
    QByteArray m_reply;
    bool m_isCutShort = false; ///< it was longer than the limit
    size_t m_headerBytes = 0;
    bool m_isHeadWhole = false; ///< of the reply; not of a provisional one
    std::optional<Clock::time_point> m_heldUntil;
    bool m_isBodyBegun = false;

    SocketTraffic m_traffic;
    uint64_t m_seenBytes = 0;
    Clock::time_point m_lastActivity;
    Clock::time_point m_nextLook;
    std::optional<Clock::time_point> m_storedAt;

    std::array<char, CURL_ERROR_SIZE> m_errorText{};
    CurlList m_headers;
    CurlEasy m_easy; ///< last: its end still calls onClose
};
