// Any bytes as relocation.json: refused with an error, or records that outlive being written.
#include "base/Error.h"
#include "relocation/RelocationStore.h"
#include "support/ScratchFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace halvenor;
    try {
        const RelocationRecords records = decodedRecords(fuzz::bytesOf(data, size));
        const QByteArray written = encodedRecords(records);
        fuzz::require(encodedRecords(decodedRecords(written)) == written,
                      "what was written reads as what it was");
    } catch (const Error& error) {
        fuzz::require(error.kind() == ErrorKind::format, "the form is what is wrong");
    }
    return 0;
}
