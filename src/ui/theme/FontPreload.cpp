#include "ui/theme/FontPreload.h"

#include <fontconfig/fontconfig.h>
#include <thread>

namespace halvenor {

// Whoever asks for fonts meanwhile makes a list too, and the first one done is kept.
void preloadFonts() {
    std::thread([] { FcInit(); }).detach();
}

}  // namespace halvenor
