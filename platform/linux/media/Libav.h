#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "base/Error.h"

#include <QString>

#include <expected>
#include <memory>

/// What we use of libavcodec and libavformat, under the names that it has there.
///
/// They are not linked, because they bring some seventy libraries along, which cost every start 25
/// ms and 13 MB: they are loaded when the first sound is encoded or read. The price: where a newer
/// system has replaced them since the start, the first recording fails, and says so, until the
/// program is started anew.
struct Libav {
    // libavcodec
    decltype(&::av_new_packet) av_new_packet = nullptr;
    decltype(&::av_packet_alloc) av_packet_alloc = nullptr;
    decltype(&::av_packet_free) av_packet_free = nullptr;
    decltype(&::av_packet_rescale_ts) av_packet_rescale_ts = nullptr;
    decltype(&::av_packet_unref) av_packet_unref = nullptr;
    decltype(&::avcodec_alloc_context3) avcodec_alloc_context3 = nullptr;
    decltype(&::avcodec_find_decoder) avcodec_find_decoder = nullptr;
    decltype(&::avcodec_find_encoder_by_name) avcodec_find_encoder_by_name = nullptr;
    decltype(&::avcodec_free_context) avcodec_free_context = nullptr;
    decltype(&::avcodec_open2) avcodec_open2 = nullptr;
    decltype(&::avcodec_parameters_alloc) avcodec_parameters_alloc = nullptr;
    decltype(&::avcodec_parameters_free) avcodec_parameters_free = nullptr;
    decltype(&::avcodec_parameters_to_context) avcodec_parameters_to_context = nullptr;
    decltype(&::avcodec_receive_frame) avcodec_receive_frame = nullptr;
    decltype(&::avcodec_receive_packet) avcodec_receive_packet = nullptr;
    decltype(&::avcodec_send_frame) avcodec_send_frame = nullptr;
    decltype(&::avcodec_send_packet) avcodec_send_packet = nullptr;
    // libavformat
    decltype(&::av_find_input_format) av_find_input_format = nullptr;
    decltype(&::av_read_frame) av_read_frame = nullptr;
    decltype(&::avformat_close_input) avformat_close_input = nullptr;
    decltype(&::avformat_open_input) avformat_open_input = nullptr;
};

/// Loads both where that has not been done. Any thread; the first call takes some 30 ms. Both are
/// silent from then on: their failures reach us as return values.
std::expected<void, Error> loadLibav();

/// The loaded functions; call this only after loadLibav() has succeeded.
const Libav &libav();

/// The library's text for \p error, a negative return value.
QString libavErrorText(int error);

struct LibavDeleter {
    void operator()(AVCodecContext *context) const { libav().avcodec_free_context(&context); }
    void operator()(AVFormatContext *context) const { libav().avformat_close_input(&context); }
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const { libav().av_packet_free(&packet); }
};

using LibavCodec = std::unique_ptr<AVCodecContext, LibavDeleter>;
using LibavInput = std::unique_ptr<AVFormatContext, LibavDeleter>; ///< one opened for reading
using LibavFrame = std::unique_ptr<AVFrame, LibavDeleter>;
using LibavPacket = std::unique_ptr<AVPacket, LibavDeleter>;

/// Opens the file at \p path as MPEG-4 file, whatever else it may be. Fails with libav's words.
std::expected<LibavInput, Error> openMovie(const QString &path);
