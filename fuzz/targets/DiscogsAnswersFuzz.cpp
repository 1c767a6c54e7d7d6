// Any bytes as an answer of the cover service: refused with an error, or no more than was asked
// for.
#include "base/Error.h"
#include "discogs/DiscogsAnswers.h"
#include "support/ScratchFile.h"

namespace {

template <class Parse>
void parse(Parse parser, const QByteArray& bytes, qsizetype most) {
    using namespace halvenor;
    try {
        const auto results = parser(bytes);
        fuzz::require(results.size() <= most, "there are no more results than are looked at");
        fuzz::require(parser(bytes) == results, "it reads the same again");
    } catch (const Error& error) {
        fuzz::require(error.kind() == ErrorKind::format, "the form is what is wrong");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes = halvenor::fuzz::bytesOf(data, size);
    parse(halvenor::parseSearchAnswer, bytes, halvenor::mostSearchResults);
    parse(halvenor::parseReleaseAnswer, bytes, halvenor::mostReleaseImages);
    return 0;
}
