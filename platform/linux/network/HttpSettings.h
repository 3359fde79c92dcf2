#pragma once

#include "platform/WebAddress.h"

#include <QString>

#include <chrono>

/// The limits of every request of a session.
struct HttpSettings {
    /// Without a byte in either direction for this long, a request ends.
    std::chrono::milliseconds idleLimit = std::chrono::seconds(60);

    /// The most bytes of a reply's body; one more ends the request.
    qsizetype replyLimitBytes = 8 * 1024 * 1024;

    WebAddress::LoopbackHttp loopbackHttp = WebAddress::LoopbackHttp::refused;

    /// A PEM file of an authority that is trusted besides the system's; for tests.
    QString trustedAuthority;
};
