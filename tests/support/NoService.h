#pragma once

#include "cloud/MediaUploader.h"
#include "tests/support/FakeHttpSession.h"

/// An uploader for those who upload nothing: there is no connection.
class NoService
{
public:
    MediaUploader uploader()
    {
        return MediaUploader(ServiceOrigin::parse(QStringLiteral("https://s.example")), m_http);
    }

private:
    Script m_script;
    FakeHttpSession m_http{m_script};
};
