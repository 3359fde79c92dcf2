#include "platform/linux/media/Libav.h"

#include <array>

void quietLibav()
{
    static const bool once = [] {
        av_log_set_callback([](void *, int, const char *, va_list) {});
        return true;
    }();
    Q_UNUSED(once);
}

QString libavErrorText(int error)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return QString::fromLocal8Bit(text.data());
}
