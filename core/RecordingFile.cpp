#include "core/RecordingFile.h"

#include <QFileInfo>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{
const auto identifierPrefix = u"mac-file-"_s;

/// The index of the extension's dot, or the length of the name where there is none.
qsizetype extensionDot(const QString &fileName)
{
    const qsizetype dot = fileName.lastIndexOf(u'.');
    return dot > 0 ? dot : fileName.size();
}
} // namespace

QString recordingBaseName(const QString &fileName)
{
    return fileName.left(extensionDot(fileName));
}

bool hasAudioExtension(const QString &fileName)
{
    constexpr std::array extensions{u"m4a", u"mp4", u"wav", u"aac", u"mp3", u"ogg", u"flac"};
    const QString extension = fileName.mid(extensionDot(fileName) + 1).toLower();
    return std::ranges::any_of(
        extensions, [&](const char16_t *known) { return extension == QStringView(known); });
}

QString clientRecordingId(const QUrl &file)
{
    const QString fileName = QFileInfo(file.toLocalFile()).fileName();
    return identifierPrefix + recordingBaseName(fileName);
}

QString recordingName(const QString &identifier)
{
    return identifier.mid(identifier.startsWith(identifierPrefix) ? identifierPrefix.size() : 0);
}
