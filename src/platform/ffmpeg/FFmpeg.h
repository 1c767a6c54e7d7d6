#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/vorbis_parser.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include "base/LateLibrary.h"

/// FFmpeg's functions, under their own names, loaded when they are first needed.
///
/// The libraries bring more than a hundred others with them: linked in the ordinary way they cost
/// every start 30 ms, before a note is played. What a call does, returns and requires is FFmpeg's
/// own documentation. Any thread. Each call may throw Error (unavailable) while the libraries are
/// not loaded.
namespace halvenor::ffmpeg {

/// Loads the libraries, if they are not loaded yet; takes some 30 ms then. FFmpeg's own log is
/// silenced. Whoever makes the first objects of FFmpeg calls this before.
/// @throws Error (unavailable) when they are not installed
void load();

#define HALVENOR_FFMPEG_UTIL(FUNCTION)  \
    FUNCTION(av_channel_layout_compare) \
    FUNCTION(av_channel_layout_copy)    \
    FUNCTION(av_channel_layout_default) \
    FUNCTION(av_channel_layout_uninit)  \
    FUNCTION(av_dict_free)              \
    FUNCTION(av_dict_set)               \
    FUNCTION(av_frame_alloc)            \
    FUNCTION(av_frame_free)             \
    FUNCTION(av_frame_get_buffer)       \
    FUNCTION(av_frame_make_writable)    \
    FUNCTION(av_frame_unref)            \
    FUNCTION(av_free)                   \
    FUNCTION(av_freep)                  \
    FUNCTION(av_get_bytes_per_sample)   \
    FUNCTION(av_get_packed_sample_fmt)  \
    FUNCTION(av_log_set_level)          \
    FUNCTION(av_malloc)                 \
    FUNCTION(av_mallocz)                \
    FUNCTION(av_opt_set)                \
    FUNCTION(av_opt_set_int)            \
    FUNCTION(av_rescale_q)              \
    FUNCTION(av_rescale_q_rnd)          \
    FUNCTION(av_sample_fmt_is_planar)

#define HALVENOR_FFMPEG_CODEC(FUNCTION)       \
    FUNCTION(av_get_bits_per_sample)          \
    FUNCTION(av_new_packet)                   \
    FUNCTION(av_packet_alloc)                 \
    FUNCTION(av_packet_free)                  \
    FUNCTION(av_packet_get_side_data)         \
    FUNCTION(av_packet_rescale_ts)            \
    FUNCTION(av_packet_unref)                 \
    FUNCTION(av_vorbis_parse_frame)           \
    FUNCTION(av_vorbis_parse_free)            \
    FUNCTION(av_vorbis_parse_init)            \
    FUNCTION(avcodec_alloc_context3)          \
    FUNCTION(avcodec_find_decoder)            \
    FUNCTION(avcodec_find_decoder_by_name)    \
    FUNCTION(avcodec_find_encoder_by_name)    \
    FUNCTION(avcodec_flush_buffers)           \
    FUNCTION(avcodec_free_context)            \
    FUNCTION(avcodec_open2)                   \
    FUNCTION(avcodec_parameters_alloc)        \
    FUNCTION(avcodec_parameters_copy)         \
    FUNCTION(avcodec_parameters_free)         \
    FUNCTION(avcodec_parameters_from_context) \
    FUNCTION(avcodec_parameters_to_context)   \
    FUNCTION(avcodec_receive_frame)           \
    FUNCTION(avcodec_receive_packet)          \
    FUNCTION(avcodec_send_frame)              \
    FUNCTION(avcodec_send_packet)

#define HALVENOR_FFMPEG_FORMAT(FUNCTION)     \
    FUNCTION(av_find_best_stream)            \
    FUNCTION(av_find_input_format)           \
    FUNCTION(av_interleaved_write_frame)     \
    FUNCTION(av_read_frame)                  \
    FUNCTION(av_write_trailer)               \
    FUNCTION(avformat_alloc_context)         \
    FUNCTION(avformat_alloc_output_context2) \
    FUNCTION(avformat_close_input)           \
    FUNCTION(avformat_find_stream_info)      \
    FUNCTION(avformat_free_context)          \
    FUNCTION(avformat_new_stream)            \
    FUNCTION(avformat_open_input)            \
    FUNCTION(avformat_seek_file)             \
    FUNCTION(avformat_write_header)          \
    FUNCTION(avio_alloc_context)             \
    FUNCTION(avio_close_dyn_buf)             \
    FUNCTION(avio_closep)                    \
    FUNCTION(avio_context_free)              \
    FUNCTION(avio_open)                      \
    FUNCTION(avio_open_dyn_buf)

#define HALVENOR_FFMPEG_RESAMPLE(FUNCTION) \
    FUNCTION(swr_alloc_set_opts2)          \
    FUNCTION(swr_build_matrix2)            \
    FUNCTION(swr_convert)                  \
    FUNCTION(swr_free)                     \
    FUNCTION(swr_get_delay)                \
    FUNCTION(swr_get_out_samples)          \
    FUNCTION(swr_init)

inline constexpr const char* missing = "The FFmpeg libraries for decoding audio are not installed.";
inline constinit const LateLibrary util("libavutil.so.57", missing);
inline constinit const LateLibrary codec("libavcodec.so.59", missing);
inline constinit const LateLibrary format("libavformat.so.59", missing);
inline constinit const LateLibrary resample("libswresample.so.4", missing);
static_assert(LIBAVUTIL_VERSION_MAJOR == 57 && LIBAVCODEC_VERSION_MAJOR == 59 &&
              LIBAVFORMAT_VERSION_MAJOR == 59 && LIBSWRESAMPLE_VERSION_MAJOR == 4);

// Some signatures carry attributes that a template argument does not keep; none matters to a call.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"
#define HALVENOR_DECLARE(name) \
    inline constinit const LateFunction<decltype(::name)> name(util, #name);
HALVENOR_FFMPEG_UTIL(HALVENOR_DECLARE)
#undef HALVENOR_DECLARE
#define HALVENOR_DECLARE(name) \
    inline constinit const LateFunction<decltype(::name)> name(codec, #name);
HALVENOR_FFMPEG_CODEC(HALVENOR_DECLARE)
#undef HALVENOR_DECLARE
#define HALVENOR_DECLARE(name) \
    inline constinit const LateFunction<decltype(::name)> name(format, #name);
HALVENOR_FFMPEG_FORMAT(HALVENOR_DECLARE)
#undef HALVENOR_DECLARE
#define HALVENOR_DECLARE(name) \
    inline constinit const LateFunction<decltype(::name)> name(resample, #name);
HALVENOR_FFMPEG_RESAMPLE(HALVENOR_DECLARE)
#undef HALVENOR_DECLARE
#pragma GCC diagnostic pop

}  // namespace halvenor::ffmpeg
