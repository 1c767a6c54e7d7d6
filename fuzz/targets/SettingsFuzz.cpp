// Any bytes as settings.json: refused with an error, or values that outlive being written.
#include "base/Error.h"
#include "platform/settings/SettingsValue.h"
#include "support/ScratchFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace halvenor;
    try {
        const settings::Values values = settings::valuesFromText(fuzz::bytesOf(data, size));
        fuzz::require(settings::valuesFromText(settings::textFromValues(values)) == values,
                      "what was written reads as what it was");
    } catch (const Error& error) {
        fuzz::require(error.kind() == ErrorKind::format, "a bad file is a format error");
    }
    return 0;
}
