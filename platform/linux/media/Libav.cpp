#include "platform/linux/media/Libav.h"

#include "base/Logger.h"

#include <QFile>
#include <QLibrary>

#include <array>
#include <mutex>

using namespace Qt::StringLiterals;

namespace
{
constexpr Logger logger("audio");

Libav loadedFunctions;

/// One of the two, in the version that we were compiled with. It stays loaded.
class Library
{
public:
    Library(const QString &name, int majorVersion)
        : m_library(name, majorVersion)
    {
    }

    template<class Function>
    void find(Function &function, const char *name)
    {
        function = reinterpret_cast<Function>(m_library.resolve(name));
        m_isWhole = m_isWhole && function;
    }

    std::expected<void, Error> outcome() const
    {
        if (m_isWhole)
            return {};
        logger.error(m_library.errorString());
        return std::unexpected(Error(u"无法加载音频编解码库"_s));
    }

private:
    QLibrary m_library;
    bool m_isWhole = true;
};

std::expected<void, Error> findFunctions(Libav &functions)
{
    Library codec(u"avcodec"_s, LIBAVCODEC_VERSION_MAJOR);
    codec.find(functions.av_new_packet, "av_new_packet");
    codec.find(functions.av_packet_alloc, "av_packet_alloc");
    codec.find(functions.av_packet_free, "av_packet_free");
    codec.find(functions.av_packet_rescale_ts, "av_packet_rescale_ts");
    codec.find(functions.av_packet_unref, "av_packet_unref");
    codec.find(functions.avcodec_alloc_context3, "avcodec_alloc_context3");
    codec.find(functions.avcodec_find_decoder, "avcodec_find_decoder");
    codec.find(functions.avcodec_find_encoder_by_name, "avcodec_find_encoder_by_name");
    codec.find(functions.avcodec_free_context, "avcodec_free_context");
    codec.find(functions.avcodec_open2, "avcodec_open2");
    codec.find(functions.avcodec_parameters_alloc, "avcodec_parameters_alloc");
    codec.find(functions.avcodec_parameters_free, "avcodec_parameters_free");
    codec.find(functions.avcodec_parameters_to_context, "avcodec_parameters_to_context");
    codec.find(functions.avcodec_receive_frame, "avcodec_receive_frame");
    codec.find(functions.avcodec_receive_packet, "avcodec_receive_packet");
    codec.find(functions.avcodec_send_frame, "avcodec_send_frame");
    codec.find(functions.avcodec_send_packet, "avcodec_send_packet");
    if (const auto found = codec.outcome(); !found)
        return found;

    Library format(u"avformat"_s, LIBAVFORMAT_VERSION_MAJOR);
    format.find(functions.av_find_input_format, "av_find_input_format");
    format.find(functions.av_read_frame, "av_read_frame");
    format.find(functions.avformat_close_input, "avformat_close_input");
    format.find(functions.avformat_open_input, "avformat_open_input");
    return format.outcome();
}
} // namespace

std::expected<void, Error> loadLibav()
{
    static std::mutex loading;
    static bool isLoaded = false;
    const std::scoped_lock lock(loading);
    if (isLoaded)
        return {};
    av_log_set_callback([](void *, int, const char *, va_list) {});
    const auto found = findFunctions(loadedFunctions);
    if (!found)
        logger.error(found.error().description());
    isLoaded = found.has_value();
    return found;
}

const Libav &libav()
{
    return loadedFunctions;
}

QString libavErrorText(int error)
{
    if (error == AVERROR_INVALIDDATA)
        return u"内容已损坏"_s;
    if (error == AVERROR_EOF)
        return u"内容不完整"_s;
    return systemErrorText(AVUNERROR(error));
}

std::expected<LibavInput, Error> openMovie(const QString &path)
{
    if (const auto loaded = loadLibav(); !loaded)
        return std::unexpected(loaded.error());
    AVFormatContext *context = nullptr;
    const QByteArray name = "file:" + QFile::encodeName(path);
    const AVInputFormat *mov = libav().av_find_input_format("mov");
    if (const int result = libav().avformat_open_input(&context, name.constData(), mov, nullptr);
        result < 0)
        return std::unexpected(Error(libavErrorText(result)));
    return LibavInput(context);
}
