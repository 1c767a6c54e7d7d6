#include <gmock/gmock.h>

#include "tags/writing/ImageHeader.h"
#include "tags/writing/WrittenFile.h"

namespace halvenor {
namespace {

using test::hex;

TEST(ImageHeader, tellsTheSizeOfPngAndJpeg) {
    struct Case {
        const char* name;
        const char* image;
        std::optional<PixelSize> size;
    };
    const PixelSize size{320, 240};
    const Case cases[] = {
        {"PNG", "89504E470D0A1A0A 0000000D 49484452 00000140 000000F0", size},
        {"PNG, the largest", "89504E470D0A1A0A 0000000D 49484452 7FFFFFFF 00000001",
         PixelSize{0x7fffffff, 1}},
        {"PNG, larger", "89504E470D0A1A0A 0000000D 49484452 80000000 00000001", {}},
        {"PNG, no width", "89504E470D0A1A0A 0000000D 49484452 00000000 000000F0", {}},
        {"PNG, cut short", "89504E470D0A1A0A 0000000D 49484452 00000140 000000", {}},
        {"PNG, another chunk first", "89504E470D0A1A0A 00000004 43674249 50002002 49484452", {}},
        {"PNG's first bytes", "89504E47", {}},
        {"JPEG, baseline", "FFD8 FFE0 0004 AAAA FFC0 0011 08 00F0 0140", size},
        {"JPEG, progressive", "FFD8 FFDB 0002 FFC2 0011 08 00F0 0140", size},
        {"JPEG, tables that look like frames",
         "FFD8 FFC4 0003 00 FFC8 0003 00 FFCC 0003 00 FFC1 0011 08 00F0 0140", size},
        {"JPEG, a thumbnail inside a segment",
         "FFD8 FFE1 000D FFD8FFC0 0011 08 0001 0001 FFC0 0011 08 00F0 0140", size},
        {"JPEG, filled", "FFD8 FFFFFFE0 0002 FFFFC0 0011 08 00F0 0140", size},
        {"JPEG, stray bytes", "FFD8 FFE0 0002 001234 FF00 FFC0 0011 08 00F0 0140", size},
        {"JPEG, markers alone", "FFD8 FF01 FFD0 FFC0 0011 08 00F0 0140", size},
        {"JPEG, a height that comes later", "FFD8 FFC0 0011 08 0000 0140", {}},
        {"JPEG, cut short", "FFD8 FFC0 0011 08 00F0 01", {}},
        {"JPEG, a segment beyond the end", "FFD8 FFE0 FFFF AAAA", {}},
        {"JPEG, a segment of no size", "FFD8 FFE0 0000 FFC0 0011 08 00F0 0140", size},
        {"JPEG, a frame of no size", "FFD8 FFC0 0002 08 00F0 0140", {}},
        {"JPEG, a scan before any frame", "FFD8 FFDA 0002 FFC0 0011 08 00F0 0140", {}},
        {"JPEG, ended", "FFD8 FFD9 FFC0 0011 08 00F0 0140", {}},
        {"JPEG, nothing more", "FFD8 FF", {}},
        {"JPEG, half a size", "FFD8 FFE0 00", {}},
        {"GIF", "474946383961 4001 F000", {}},
        {"nothing", "", {}},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(readPixelSize(hex(each.image)), each.size) << each.name;
    }
}

}  // namespace
}  // namespace halvenor
