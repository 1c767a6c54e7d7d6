#include "platform/decode/StreamInfo.h"

#include "base/Error.h"
#include "platform/decode/DecodedFile.h"
#include "platform/decode/StreamLayout.h"

namespace halvenor {

std::optional<StreamInfo> readStreamInfo(const FileUrl& url) {
    try {
        return readStreamInfo(std::make_shared<FileBytes>(url));
    } catch (const Error&) {
        return std::nullopt;
    }
}

std::optional<StreamInfo> readStreamInfo(const std::shared_ptr<ByteSource>& bytes) {
    try {
        StreamLayout layout = readStreamLayout(*bytes);
        if (layout.isFormatHidden) {
            revealFormat(bytes, layout);
        }
        return StreamInfo{layout.format, layout.frames, layout.isExact, layout.dataRate};
    } catch (const Error&) {
        return std::nullopt;
    }
}

}  // namespace halvenor
