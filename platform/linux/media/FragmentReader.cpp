#include "platform/linux/media/FragmentReader.h"

#include "platform/linux/media/Boxes.h"
#include "platform/linux/media/FragmentBoxes.h"

#include <algorithm>
#include <array>
#include <numeric>

using namespace Qt::StringLiterals;

namespace
{
constexpr std::size_t boxHeader = 8;
constexpr std::size_t fullBoxHeader = 4; ///< version and flags

/// A second of the largest packets that there are, for eight channels, is half of it.
constexpr std::size_t largestFragment = 1 << 20;

/// The box at the end of the way from \p bytes through \p types.
std::optional<std::span<const std::byte>> findNested(std::span<const std::byte> bytes,
                                                     std::initializer_list<std::string_view> types)
{
    std::optional found(bytes);
    for (const std::string_view type : types) {
        if (found)
            found = findBox(*found, type);
    }
    return found;
}

/// Reads what writeElementaryStream() wrote.
void parseElementaryStream(std::span<const std::byte> stream, AacFormat &format)
{
    constexpr std::size_t toAverageBitRate = fullBoxHeader + 2 + 3 + 2 + 9;
    BoxReader reader(stream);
    reader.skip(toAverageBitRate);
    format.bitRate = static_cast<int>(reader.u32());
    constexpr quint64 configurationTag = 5;
    if (reader.number(1) != configurationTag)
        return;
    const auto configuration = reader.bytes(reader.number(1));
    format.configuration.assign(configuration.begin(), configuration.end());
}
} // namespace

std::expected<FragmentReader, Error> FragmentReader::open(const QString &path)
{
    auto file = OutputFile::open(path);
    if (!file)
        return std::unexpected(file.error());
    FragmentReader reader(*std::move(file));
    for (const std::string_view type : {"ftyp", "moov"}) {
        const auto found = reader.readBox(type, reader.m_index);
        if (!found)
            return std::unexpected(found.error());
        if (!*found)
            return std::unexpected(Error(u"不是未完成的录音文件"_s));
    }
    if (!reader.parseMovie())
        return std::unexpected(Error(u"不是未完成的录音文件"_s));
    return reader;
}

/// False when there is no complete box of \p type at the current position.
std::expected<bool, Error> FragmentReader::readBox(std::string_view type,
                                                   std::vector<std::byte> &content)
{
    std::array<std::byte, boxHeader> header{};
    const auto headerRead = m_file.read(m_position, header);
    if (!headerRead)
        return std::unexpected(headerRead.error());
    BoxReader reader(header);
    const std::size_t size = reader.u32();
    if (*headerRead < boxHeader || size < boxHeader || size > largestFragment ||
        !std::ranges::equal(reader.rest(), std::as_bytes(std::span(type))))
        return false;
    content.resize(size - boxHeader);
    const auto read = m_file.read(m_position + static_cast<qint64>(boxHeader), content);
    if (!read)
        return std::unexpected(read.error());
    m_position += static_cast<qint64>(size);
    return *read == content.size();
}

bool FragmentReader::parseMovie()
{
    const auto media = findNested(m_index, {"trak", "mdia"});
    if (!findBox(m_index, "mvex") || !media)
        return false;
    const auto header = findBox(*media, "mdhd");
    const auto description = findNested(*media, {"minf", "stbl", "stsd"});
    if (!header || !description)
        return false;
    BoxReader time(*header);
    time.skip(fullBoxHeader + 16);
    m_format.sampleRate = static_cast<int>(time.u32());

    BoxReader descriptions(*description);
    descriptions.skip(fullBoxHeader + 4);
    const auto entry = findBox(descriptions.rest(), "mp4a");
    if (!entry)
        return false;
    BoxReader sound(*entry);
    sound.skip(16);
    m_format.channelCount = static_cast<int>(sound.number(2));
    sound.skip(10);
    if (const auto stream = findBox(sound.rest(), "esds"))
        parseElementaryStream(*stream, m_format);
    return m_format.sampleRate > 0 && m_format.channelCount > 0 && !m_format.configuration.empty();
}

std::expected<bool, Error> FragmentReader::next()
{
    const qint64 start = m_position;
    const auto complete = readFragment();
    return !complete || *complete ? complete : readEnd(start);
}

std::expected<bool, Error> FragmentReader::readFragment()
{
    m_packets.clear();
    const auto index = readBox("moof", m_index);
    if (!index || !*index)
        return index;
    const auto data = readBox("mdat", m_data);
    if (!data || !*data)
        return data;
    const auto fragment = readFragmentIndex(m_index);
    if (!fragment || fragment->startFrame != m_duration || !isFragmentDataWhole(*fragment, m_data))
        return false;
    BoxReader packets(m_data);
    for (const quint32 size : fragment->packetSizes)
        m_packets.push_back(packets.bytes(size));
    m_duration += fragment->frameCount;
    return true;
}

/// Fails unless the bytes behind the last complete fragment are the beginning of one more, or none.
std::expected<bool, Error> FragmentReader::readEnd(qint64 start)
{
    m_packets.clear();
    std::vector<std::byte> rest(largestFragment + 1);
    const auto count = m_file.read(start, rest);
    if (!count)
        return std::unexpected(count.error());
    rest.resize(*count);
    const std::string_view type = "moof";
    const auto afterHeader = std::span(rest).subspan(std::min(rest.size(), boxHeader));
    if (rest.size() > largestFragment ||
        !std::ranges::search(afterHeader, std::as_bytes(std::span(type))).empty())
        return std::unexpected(Error(u"录音文件中间有损坏的部分"_s));
    return false;
}

qint64 FragmentReader::frameCount() const
{
    return std::max<qint64>(m_duration - aacFrameLength, 0);
}

std::expected<qint64, Error> fragmentedLength(const QString &path)
{
    const auto file = OutputFile::open(path);
    const auto size = file ? file->size() : std::unexpected(file.error());
    if (!size)
        return std::unexpected(size.error());
    std::vector<std::byte> tail(
        static_cast<std::size_t>(std::min(*size, static_cast<qint64>(largestFragment))));
    const auto read = file->read(*size - std::ssize(tail), tail);
    if (!read)
        return std::unexpected(read.error());
    const std::string_view type = "moof";
    std::span<const std::byte> before = tail;
    for (;;) {
        const auto found = std::ranges::find_end(before, std::as_bytes(std::span(type)));
        const auto place = static_cast<std::size_t>(found.begin() - before.begin());
        if (found.empty() || place < boxHeader / 2)
            return std::unexpected(Error(u"%1 不完整"_s.arg(path)));
        const auto fragment = std::span<const std::byte>(tail).subspan(place - boxHeader / 2);
        const auto moof = findBox(fragment, "moof");
        const auto data = findBox(fragment, "mdat");
        const auto index = moof ? readFragmentIndex(*moof) : std::nullopt;
        if (index && data && isFragmentDataWhole(*index, *data))
            return std::max<qint64>(0, index->startFrame + index->frameCount - aacFrameLength);
        before = before.first(place);
    }
}
