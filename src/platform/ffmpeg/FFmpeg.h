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

#include <atomic>

/// FFmpeg's functions, under their own names, loaded when the first of them is called.
///
/// The libraries bring more than a hundred others with them. Linked in the ordinary way they cost
/// every start 30 milliseconds and some megabytes, before a note is played. So nothing links them:
/// headers give the types, and each function here finds its address at its first call. What a call
/// does, returns and requires is FFmpeg's own documentation. Any thread.
namespace halvenor::ffmpeg {

enum class Library { util, codec, format, resample };

/// Loads the libraries, if they are not loaded yet; takes some 30 ms then. FFmpeg's own log is
/// silenced.
/// @throws Error (unavailable) when they are not installed
void load();

namespace detail {

/// @throws Error (unavailable) when the library or the function is missing
void* address(Library library, const char* function);

}  // namespace detail

/// One function of a library, called like the function itself.
template <class Signature>
class Function;

template <class Result, class... Arguments>
class Function<Result(Arguments...)> {
  public:
    constexpr Function(Library library, const char* name) : library_(library), name_(name) {}

    Result operator()(Arguments... arguments) const { return pointer()(arguments...); }

  private:
    using Pointer = Result (*)(Arguments...);

    Pointer pointer() const {
        Pointer known = pointer_.load(std::memory_order_acquire);
        if (known == nullptr) {
            known = reinterpret_cast<Pointer>(detail::address(library_, name_));
            pointer_.store(known, std::memory_order_release);
        }
        return known;
    }

    Library library_;
    const char* name_;
    mutable std::atomic<Pointer> pointer_{nullptr};
};

// Some signatures carry attributes that a template argument does not keep; none matters to a call.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"

// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): a function's name is needed as a text, too.
#define HALVENOR_FFMPEG(library, function) \
    inline constinit const Function<decltype(::function)> function(Library::library, #function)

HALVENOR_FFMPEG(util, av_channel_layout_compare);
HALVENOR_FFMPEG(util, av_channel_layout_copy);
HALVENOR_FFMPEG(util, av_channel_layout_default);
HALVENOR_FFMPEG(util, av_channel_layout_uninit);
HALVENOR_FFMPEG(util, av_dict_free);
HALVENOR_FFMPEG(util, av_dict_set);
HALVENOR_FFMPEG(util, av_frame_alloc);
HALVENOR_FFMPEG(util, av_frame_free);
HALVENOR_FFMPEG(util, av_frame_get_buffer);
HALVENOR_FFMPEG(util, av_frame_make_writable);
HALVENOR_FFMPEG(util, av_frame_unref);
HALVENOR_FFMPEG(util, av_free);
HALVENOR_FFMPEG(util, av_freep);
HALVENOR_FFMPEG(util, av_get_bytes_per_sample);
HALVENOR_FFMPEG(util, av_get_packed_sample_fmt);
HALVENOR_FFMPEG(util, av_log_set_level);
HALVENOR_FFMPEG(util, av_malloc);
HALVENOR_FFMPEG(util, av_mallocz);
HALVENOR_FFMPEG(util, av_opt_set);
HALVENOR_FFMPEG(util, av_opt_set_int);
HALVENOR_FFMPEG(util, av_rescale_q);
HALVENOR_FFMPEG(util, av_rescale_q_rnd);
HALVENOR_FFMPEG(util, av_sample_fmt_is_planar);

HALVENOR_FFMPEG(codec, av_get_bits_per_sample);
HALVENOR_FFMPEG(codec, av_new_packet);
HALVENOR_FFMPEG(codec, av_packet_alloc);
HALVENOR_FFMPEG(codec, av_packet_free);
HALVENOR_FFMPEG(codec, av_packet_get_side_data);
HALVENOR_FFMPEG(codec, av_packet_rescale_ts);
HALVENOR_FFMPEG(codec, av_packet_unref);
HALVENOR_FFMPEG(codec, av_vorbis_parse_frame);
HALVENOR_FFMPEG(codec, av_vorbis_parse_free);
HALVENOR_FFMPEG(codec, av_vorbis_parse_init);
HALVENOR_FFMPEG(codec, avcodec_alloc_context3);
HALVENOR_FFMPEG(codec, avcodec_find_decoder);
HALVENOR_FFMPEG(codec, avcodec_find_decoder_by_name);
HALVENOR_FFMPEG(codec, avcodec_find_encoder_by_name);
HALVENOR_FFMPEG(codec, avcodec_flush_buffers);
HALVENOR_FFMPEG(codec, avcodec_free_context);
HALVENOR_FFMPEG(codec, avcodec_open2);
HALVENOR_FFMPEG(codec, avcodec_parameters_alloc);
HALVENOR_FFMPEG(codec, avcodec_parameters_copy);
HALVENOR_FFMPEG(codec, avcodec_parameters_free);
HALVENOR_FFMPEG(codec, avcodec_parameters_from_context);
HALVENOR_FFMPEG(codec, avcodec_parameters_to_context);
HALVENOR_FFMPEG(codec, avcodec_receive_frame);
HALVENOR_FFMPEG(codec, avcodec_receive_packet);
HALVENOR_FFMPEG(codec, avcodec_send_frame);
HALVENOR_FFMPEG(codec, avcodec_send_packet);

HALVENOR_FFMPEG(format, av_find_best_stream);
HALVENOR_FFMPEG(format, av_find_input_format);
HALVENOR_FFMPEG(format, av_interleaved_write_frame);
HALVENOR_FFMPEG(format, av_read_frame);
HALVENOR_FFMPEG(format, av_write_trailer);
HALVENOR_FFMPEG(format, avformat_alloc_context);
HALVENOR_FFMPEG(format, avformat_alloc_output_context2);
HALVENOR_FFMPEG(format, avformat_close_input);
HALVENOR_FFMPEG(format, avformat_find_stream_info);
HALVENOR_FFMPEG(format, avformat_free_context);
HALVENOR_FFMPEG(format, avformat_new_stream);
HALVENOR_FFMPEG(format, avformat_open_input);
HALVENOR_FFMPEG(format, avformat_seek_file);
HALVENOR_FFMPEG(format, avformat_write_header);
HALVENOR_FFMPEG(format, avio_alloc_context);
HALVENOR_FFMPEG(format, avio_close_dyn_buf);
HALVENOR_FFMPEG(format, avio_closep);
HALVENOR_FFMPEG(format, avio_context_free);
HALVENOR_FFMPEG(format, avio_open);
HALVENOR_FFMPEG(format, avio_open_dyn_buf);

HALVENOR_FFMPEG(resample, swr_alloc_set_opts2);
HALVENOR_FFMPEG(resample, swr_build_matrix2);
HALVENOR_FFMPEG(resample, swr_convert);
HALVENOR_FFMPEG(resample, swr_free);
HALVENOR_FFMPEG(resample, swr_get_delay);
HALVENOR_FFMPEG(resample, swr_get_out_samples);
HALVENOR_FFMPEG(resample, swr_init);

#undef HALVENOR_FFMPEG
#pragma GCC diagnostic pop

}  // namespace halvenor::ffmpeg
