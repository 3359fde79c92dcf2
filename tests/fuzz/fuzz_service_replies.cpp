#include "cloud/AuthSession.h"
#include "cloud/ServiceReplies.h"
#include "cloud/ServiceRequests.h"
#include "tests/fuzz/Fuzz.h"

namespace
{
/// The message of a failure may end in a list entry: bounded, and whole characters.
template<class Result>
void requireMessage(const Result &result)
{
    if (result)
        return;
    const QString message = result.error().description();
    require(!message.isEmpty() && message.size() < 10'000 && message.isValidUtf16(),
            "a message can be shown");
}

void classify(const HttpOutcome &outcome)
{
    requireMessage(ServiceReplies::signUpload(outcome));
    requireMessage(ServiceReplies::objectUpload(outcome));
    requireMessage(ServiceReplies::reconcile(outcome));
    const auto id = ServiceReplies::createMeeting(outcome);
    requireMessage(id);
    require(!id || id->isValidUtf16(), "an identifier is text");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray body = bytes(data, size);
    classify(HttpReply(200, body));
    classify(HttpReply(500, body));
    requireMessage(decodedMe(body));
    requireMessage(decodedLatestRelease(body));

    // Not a reply, but JSON from outside too: the item in the secret store.
    const auto session = decodedSession(QString::fromUtf8(body));
    require(!session || decodedSession(encoded(*session)) == session, "a session is read back");
    return 0;
}
