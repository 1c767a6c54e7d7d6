#include "ui/theme/FontPreload.h"

#include <QFontDatabase>
#include <QStringList>

#include <fontconfig/fontconfig.h>

namespace halvenor {

FontPreload::FontPreload()
    : thread_([this] {
          FcInit();
          application_.wait();
          QFontDatabase::families();
      }) {}

void FontPreload::finish() {
    if (thread_.joinable()) {
        thread_.join();
    }
}

}  // namespace halvenor
