#include "core/RecentsCoding.h"
#include "tests/fuzz/Fuzz.h"

namespace
{
/// The file as a path: Qt writes an odd fragment, which means nothing here, in another way.
QString filePath(const RecentSession &session)
{
    return session.fileURL.value_or(QUrl()).toLocalFile();
}

void requireSame(const RecentSession &a, const RecentSession &b)
{
    require(a.id == b.id, "identities stay");
    require(filePath(a) == filePath(b), "files stay");
    require(a.remoteID == b.remoteID, "uploads stay");
    require(a.startedAt == b.startedAt, "dates stay");
    require(a.durationSeconds == b.durationSeconds, "durations stay");
}
} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto sessions = decodeRecents(bytes(data, size));
    if (!sessions)
        return 0;
    const auto again = decodeRecents(encodeRecents(*sessions));
    require(again.has_value(), "what was read can be read again when it is written");
    require(again->size() == sessions->size(), "no entry is lost");
    for (qsizetype i = 0; i < again->size(); ++i)
        requireSame(again->at(i), sessions->at(i));
    return 0;
}
