// Any bytes as settings.json: damaged, or values that outlive being written.
#include "platform/settings/SettingsFile.h"
#include "support/ScratchFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace halvenor;
    static const FileUrl file = fuzz::scratchFile("settings.json");
    static const bool isQuiet =
        qInstallMessageHandler([](auto, const auto&, const auto&) {}) != nullptr;
    static_cast<void>(isQuiet);
    fuzz::fill(file, fuzz::bytesOf(data, size));
    const settings::Contents contents = settings::read(file);
    fuzz::require(!contents.isDamaged || contents.values.empty(), "damage gives no values");
    if (!contents.isDamaged) {
        settings::write(file, contents.values);
        fuzz::require(settings::read(file).values == contents.values,
                      "what was written reads as what it was");
    }
    return 0;
}
