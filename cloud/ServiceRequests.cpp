#include "cloud/ServiceRequests.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
void authorize(HttpRequest &request, const QString &token)
{
    Q_ASSERT(ServiceRequests::isUsableToken(token));
    request.addHeader("Authorization", "JWT " + token.toLatin1());
}

HttpRequest jsonPost(const QString &address, const QByteArray &body, const QString &token)
{
    HttpRequest request("POST", address);
    authorize(request, token);
    request.addHeader("Content-Type", "application/json");
    request.setBody(body);
    return request;
}
} // namespace

bool ServiceRequests::isUsableToken(const QString &token)
{
    return std::ranges::all_of(
        token, [](QChar character) { return character >= u' ' && character <= u'~'; });
}

HttpRequest ServiceRequests::signUpload(const ServiceOrigin &origin,
                                        const SignUploadRequest &record, const QString &token)
{
    return jsonPost(origin.address("/api/oss/sign-upload"_L1), encoded(record), token);
}

HttpRequest ServiceRequests::objectUpload(const QString &uploadURL, const QString &path)
{
    HttpRequest request("PUT", uploadURL);
    request.addHeader("Content-Type", "audio/mp4");
    request.setBodyFile(path);
    return request;
}

HttpRequest ServiceRequests::createMeeting(const ServiceOrigin &origin,
                                           const CreateMeetingRequest &record, const QString &token)
{
    return jsonPost(origin.address("/api/meetings"_L1), encoded(record), token);
}

HttpRequest ServiceRequests::reconcile(const ServiceOrigin &origin,
                                       const ReconcileMeetingsRequest &record, const QString &token)
{
    return jsonPost(origin.address("/api/meetings/reconcile"_L1), encoded(record), token);
}

HttpRequest ServiceRequests::identity(const ServiceOrigin &origin, const QString &token)
{
    HttpRequest request("GET", origin.address("/api/auth/me"_L1));
    authorize(request, token);
    return request;
}

HttpRequest ServiceRequests::latestRelease(const ServiceOrigin &origin)
{
    // The session keeps no cache that would have to be passed by.
    return HttpRequest("GET", origin.address("/api/release/latest"_L1));
}
