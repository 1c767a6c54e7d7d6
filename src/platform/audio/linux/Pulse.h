#pragma once

#include <pulse/pulseaudio.h>

#include "base/LateLibrary.h"

/// The functions of PulseAudio's client library, under their own names, loaded with the first
/// sound: the library brings two dozen others with it. What a call does is its own documentation.
namespace halvenor::pulse {

/// Loads the library, if it is not loaded yet, and finds every function, so that no later call
/// waits for that. Whoever makes the first objects calls this before.
/// @throws Error (unavailable) when it is not installed
void load();

#define HALVENOR_PULSE(FUNCTION)                \
    FUNCTION(pa_channel_map_init_extend)        \
    FUNCTION(pa_context_connect)                \
    FUNCTION(pa_context_disconnect)             \
    FUNCTION(pa_context_errno)                  \
    FUNCTION(pa_context_get_server_info)        \
    FUNCTION(pa_context_get_sink_info_by_name)  \
    FUNCTION(pa_context_get_sink_info_list)     \
    FUNCTION(pa_context_get_state)              \
    FUNCTION(pa_context_new)                    \
    FUNCTION(pa_context_rttime_new)             \
    FUNCTION(pa_context_set_state_callback)     \
    FUNCTION(pa_context_set_subscribe_callback) \
    FUNCTION(pa_context_subscribe)              \
    FUNCTION(pa_context_unref)                  \
    FUNCTION(pa_operation_unref)                \
    FUNCTION(pa_proplist_free)                  \
    FUNCTION(pa_proplist_new)                   \
    FUNCTION(pa_proplist_sets)                  \
    FUNCTION(pa_rtclock_now)                    \
    FUNCTION(pa_stream_begin_write)             \
    FUNCTION(pa_stream_cancel_write)            \
    FUNCTION(pa_stream_connect_playback)        \
    FUNCTION(pa_stream_cork)                    \
    FUNCTION(pa_stream_disconnect)              \
    FUNCTION(pa_stream_flush)                   \
    FUNCTION(pa_stream_get_device_name)         \
    FUNCTION(pa_stream_get_state)               \
    FUNCTION(pa_stream_get_timing_info)         \
    FUNCTION(pa_stream_is_suspended)            \
    FUNCTION(pa_stream_new_with_proplist)       \
    FUNCTION(pa_stream_set_moved_callback)      \
    FUNCTION(pa_stream_set_started_callback)    \
    FUNCTION(pa_stream_set_state_callback)      \
    FUNCTION(pa_stream_set_suspended_callback)  \
    FUNCTION(pa_stream_set_underflow_callback)  \
    FUNCTION(pa_stream_set_write_callback)      \
    FUNCTION(pa_stream_unref)                   \
    FUNCTION(pa_stream_update_timing_info)      \
    FUNCTION(pa_stream_writable_size)           \
    FUNCTION(pa_stream_write)                   \
    FUNCTION(pa_threaded_mainloop_free)         \
    FUNCTION(pa_threaded_mainloop_get_api)      \
    FUNCTION(pa_threaded_mainloop_lock)         \
    FUNCTION(pa_threaded_mainloop_new)          \
    FUNCTION(pa_threaded_mainloop_set_name)     \
    FUNCTION(pa_threaded_mainloop_signal)       \
    FUNCTION(pa_threaded_mainloop_start)        \
    FUNCTION(pa_threaded_mainloop_stop)         \
    FUNCTION(pa_threaded_mainloop_unlock)       \
    FUNCTION(pa_threaded_mainloop_wait)

inline constinit const LateLibrary library("libpulse.so.0",
                                           "The PulseAudio client library is not installed.");
#define HALVENOR_DECLARE(name) \
    inline constinit const LateFunction<decltype(::name)> name(library, #name);
HALVENOR_PULSE(HALVENOR_DECLARE)
#undef HALVENOR_DECLARE

}  // namespace halvenor::pulse
