#include "platform/ffmpeg/FFmpeg.h"

namespace halvenor::ffmpeg {

void load() {
    static const bool isLoaded = [] {
#define HALVENOR_RESOLVE(name) name.resolve();
        HALVENOR_FFMPEG_UTIL(HALVENOR_RESOLVE)
        HALVENOR_FFMPEG_CODEC(HALVENOR_RESOLVE)
        HALVENOR_FFMPEG_FORMAT(HALVENOR_RESOLVE)
        HALVENOR_FFMPEG_RESAMPLE(HALVENOR_RESOLVE)
#undef HALVENOR_RESOLVE
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    static_cast<void>(isLoaded);
}

}  // namespace halvenor::ffmpeg
