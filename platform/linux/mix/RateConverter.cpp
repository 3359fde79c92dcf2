#include "platform/linux/mix/RateConverter.h"

#include "platform/linux/media/Libav.h"

extern "C" {
#include <libswresample/swresample.h>
}

using namespace Qt::StringLiterals;

namespace
{
std::unexpected<Error> failed(int code)
{
    return std::unexpected(Error(u"无法转换采样率：%1"_s.arg(libavErrorText(code))));
}
} // namespace

void RateConverter::Deleter::operator()(SwrContext *context) const
{
    swr_free(&context);
}

RateConverter::RateConverter(Context context)
    : m_context(std::move(context))
{
}

std::expected<RateConverter, Error> RateConverter::create(int from, int to)
{
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    SwrContext *made = nullptr;
    int result = swr_alloc_set_opts2(&made, &stereo, AV_SAMPLE_FMT_FLT, to, &stereo,
                                     AV_SAMPLE_FMT_FLT, from, 0, nullptr);
    Context context(made);
    if (result >= 0)
        result = swr_init(context.get());
    if (result < 0)
        return failed(result);
    return RateConverter(std::move(context));
}

std::expected<void, Error> RateConverter::feed(std::span<const float> stereo)
{
    return convert(stereo.data(), static_cast<int>(stereo.size() / 2));
}

std::expected<void, Error> RateConverter::finish()
{
    return convert(nullptr, 0);
}

std::expected<void, Error> RateConverter::convert(const float *stereo, int frames)
{
    const int room = swr_get_out_samples(m_context.get(), frames);
    if (room < 0)
        return failed(room);
    std::vector<float> &waiting = m_queue.samples();
    const std::size_t before = waiting.size();
    waiting.resize(before + static_cast<std::size_t>(room) * 2);
    auto *out = reinterpret_cast<std::uint8_t *>(waiting.data() + before);
    const auto *in = reinterpret_cast<const std::uint8_t *>(stereo);
    const int made = swr_convert(m_context.get(), &out, room, stereo ? &in : nullptr, frames);
    if (made < 0)
        return failed(made);
    waiting.resize(before + static_cast<std::size_t>(made) * 2);
    return {};
}
