#pragma once

#include "cloud/ServiceOrigin.h"
#include "cloud/ServiceRecords.h"
#include "platform/HttpSession.h"

/// Every request that the program makes, each built in one place. Values; any thread.
namespace ServiceRequests
{
/// Whether \p token can stand in a header as it is: printable ASCII, possibly nothing. What is not
/// must never become a session; the builders rely on it.
bool isUsableToken(const QString &token);

HttpRequest signUpload(const ServiceOrigin &origin, const SignUploadRequest &record,
                       const QString &token);

/// \p uploadURL is the signed address, unchanged; \p path the file that is streamed there. Carries
/// no token: the address is the credential.
HttpRequest objectUpload(const QString &uploadURL, const QString &path);

HttpRequest createMeeting(const ServiceOrigin &origin, const CreateMeetingRequest &record,
                          const QString &token);
HttpRequest reconcile(const ServiceOrigin &origin, const ReconcileMeetingsRequest &record,
                      const QString &token);
HttpRequest identity(const ServiceOrigin &origin, const QString &token);
HttpRequest latestRelease(const ServiceOrigin &origin);
} // namespace ServiceRequests
