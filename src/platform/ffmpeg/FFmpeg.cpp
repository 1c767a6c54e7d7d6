#include "platform/ffmpeg/FFmpeg.h"

#include <array>
#include <dlfcn.h>

#include "base/Error.h"

namespace halvenor::ffmpeg {

namespace {

// Of the versions whose headers were compiled: their binary interfaces are what is called.
constexpr std::array sonames = {"libavutil.so.57", "libavcodec.so.59", "libavformat.so.59",
                                "libswresample.so.4"};
static_assert(LIBAVUTIL_VERSION_MAJOR == 57 && LIBAVCODEC_VERSION_MAJOR == 59 &&
              LIBAVFORMAT_VERSION_MAJOR == 59 && LIBSWRESAMPLE_VERSION_MAJOR == 4);

Error missing() {
    return Error(ErrorKind::unavailable,
                 QStringLiteral("The FFmpeg libraries for decoding audio are not installed."));
}

using Handles = std::array<void*, sonames.size()>;

// They stay loaded to the end of the process: functions of theirs may run during its exit.
const Handles& handles() {
    static const Handles opened = [] {
        Handles made{};
        for (size_t i = 0; i < sonames.size(); ++i) {
            made[i] = dlopen(sonames[i], RTLD_LAZY | RTLD_LOCAL);
            if (made[i] == nullptr) {
                throw missing();
            }
        }
        using SetLevel = void (*)(int);
        if (const auto setLevel = reinterpret_cast<SetLevel>(dlsym(made[0], "av_log_set_level"))) {
            setLevel(AV_LOG_QUIET);
        }
        return made;
    }();
    return opened;
}

}  // namespace

void load() {
    handles();
}

void* detail::address(Library library, const char* function) {
    void* found = dlsym(handles()[static_cast<size_t>(library)], function);
    if (found == nullptr) {
        throw missing();
    }
    return found;
}

}  // namespace halvenor::ffmpeg
