#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <QString>

#include <memory>

/// Keeps libav from printing to standard error: its failures reach us as return values. Call it
/// before the first use of libav; any thread, any number of times.
void quietLibav();

/// What libav calls \p error, a negative return value.
QString libavErrorText(int error);

struct LibavDeleter {
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
    void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};

using LibavCodec = std::unique_ptr<AVCodecContext, LibavDeleter>;
using LibavInput = std::unique_ptr<AVFormatContext, LibavDeleter>; ///< one opened for reading
using LibavFrame = std::unique_ptr<AVFrame, LibavDeleter>;
using LibavPacket = std::unique_ptr<AVPacket, LibavDeleter>;
