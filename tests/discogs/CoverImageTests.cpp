// What counts as a cover: whole pictures of a few kinds, within bounds.
#include <QtEndian>

#include <gmock/gmock.h>

#include "discogs/CoverImage.h"
#include "discogs/Pictures.h"

namespace halvenor::test {
namespace {

// A PNG's header that tells another size, its check sum not made to fit: nothing looks at it
// before the size.
QByteArray pngOfSize(quint32 width, quint32 height) {
    QByteArray bytes = picture("png");
    qToBigEndian(width, bytes.data() + 16);
    qToBigEndian(height, bytes.data() + 20);
    return bytes;
}

// A picture whose frame header (SOF) tells another size.
QByteArray jpegOfSize(quint16 width, quint16 height) {
    QByteArray bytes = picture("jpeg");
    const qsizetype frame = bytes.indexOf("\xFF\xC0");
    EXPECT_GT(frame, 0);
    qToBigEndian(height, bytes.data() + frame + 5);
    qToBigEndian(width, bytes.data() + frame + 7);
    return bytes;
}

TEST(CoverImage, isAWholePictureOfAKindThatCoversHave) {
    EXPECT_TRUE(isCoverImage(picture("jpeg")));
    EXPECT_TRUE(isCoverImage(picture("png")));
    EXPECT_TRUE(isCoverImage(picture("webp")));
    EXPECT_TRUE(isCoverImage(gifPicture()));

    const QByteArray png = picture("png");
    const QByteArray svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"><rect/></svg>";
    const QByteArray html = "<!DOCTYPE html><html><body>Blocked</body></html>";
    for (const QByteArray& bytes :
         {QByteArray(), html, svg, picture("bmp"), png.left(8), png.left(40), "x" + png,
          QByteArray("\xFF\xD8\xFF"), QByteArray("GIF89a"), "RIFF____WEBP" + html,
          "\x89PNG\r\n\x1A\n" + html, QByteArray(5000, '\0')}) {
        EXPECT_FALSE(isCoverImage(bytes)) << bytes.left(20).toHex().toStdString();
    }
}

TEST(CoverImage, isNotMoreThanAMachineCanHold) {
    EXPECT_FALSE(isCoverImage(pngOfSize(0x7FFFFFFF, 0x7FFFFFFF)));
    EXPECT_FALSE(isCoverImage(pngOfSize(1, 1U << 31)));
    EXPECT_FALSE(isCoverImage(pngOfSize(0, 4)));
    EXPECT_FALSE(isCoverImage(jpegOfSize(65000, 65000)));
    EXPECT_TRUE(isCoverImage(jpegOfSize(6, 5))) << "the size alone is what is refused";

    QByteArray scans = picture("jpeg");
    for (int i = 0; i < 200; ++i) {
        scans.insert(scans.size() - 2, "\xFF\xDA\x00\x08\x01\x01\x00\x00\x3F\x00");
    }
    EXPECT_FALSE(isCoverImage(scans));
}

}  // namespace
}  // namespace halvenor::test
