// How an image gets into the album editor: from a file, a drag or the clipboard, and which are
// turned away.
#include <QBuffer>
#include <QElapsedTimer>
#include <QImageWriter>
#include <QMimeData>
#include <QUrl>

#include <sys/stat.h>

#include "discogs/Pictures.h"
#include "editing/AlbumTagEditor.h"
#include "editing/ArtworkFormat.h"
#include "editing/ArtworkSource.h"
#include "state/AppStateFixture.h"
#include "support/PeakMemory.h"

namespace halvenor::test {
namespace {

QByteArray written(const QImage& image, const char* format,
                   QImageIOHandler::Transformations transformation = {}) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setCompression(1);
    writer.setTransformation(transformation);
    EXPECT_TRUE(writer.write(image));
    return bytes;
}

// A picture of one colour: few bytes, however large.
QByteArray plainPicture(const char* format, int side) {
    QImage image(side, side, QImage::Format_Mono);
    image.fill(0);
    return written(image, format);
}

class ArtworkImportTest : public AppStateFixture {
  protected:
    AlbumTagEditor editor_{state(), {}};

    QString message() const { return editor_.errorMessage->value_or(QString()); }
    void finishImport() {
        ASSERT_TRUE(*editor_.isImportingArtwork);
        ASSERT_TRUE(spinUntil([&] { return !*editor_.isImportingArtwork; }));
    }
    /// @param bytes as they are; empty: what was taken was made a PNG
    void expectTaken(const QString& name, const QByteArray& bytes) {
        EXPECT_EQ(*editor_.selectedArtworkFileName, name);
        ASSERT_TRUE(editor_.selectedArtworkData->has_value());
        const QByteArray taken = **editor_.selectedArtworkData;
        EXPECT_TRUE(bytes.isEmpty() ? taken.startsWith("\x89PNG") : taken == bytes);
        EXPECT_FALSE(QImage::fromData(taken).isNull());
    }
};

TEST_F(ArtworkImportTest, takesImageFilesAndTellsWhatIsNone) {
    makeFile("notes.txt", "text");
    makeFile("cover.jpg", "text");
    makeFile("half.jpg", "\xFF\xD8\xFF");
    makeFile("empty.png", {});
    makeFile("front.png", picture("png"));
    makeFile("no extension", picture("jpeg"));
    makeFile("Scan.TIFF", picture("tiff"));
    makeFile("name \xFF.webp", picture("webp"));
    makeFolder("folder.png");
    ASSERT_EQ(::mkfifo(folder("pipe.png").path().constData(), 0600), 0);
    const QString unsupported = QStringLiteral("The selected file is not a supported image.");
    const QString unreadable = QStringLiteral("Could not read the selected image.");
    struct Case {
        const char* name;
        QString message;
        QByteArray taken;  // as it is; empty: as PNG
    };
    const Case cases[] = {
        {"notes.txt", QStringLiteral("Please select an image file, not notes.txt."), {}},
        {"cover.jpg", unsupported, {}},
        {"half.jpg", unsupported, {}},
        {"empty.png", unsupported, {}},
        {"gone.png", unreadable, {}},
        {"gone", QStringLiteral("Please select an image file, not gone."), {}},
        {"folder.png", unreadable, {}},
        {"pipe.png", unreadable, {}},
        {"front.png", {}, picture("png")},
        {"no extension", {}, picture("jpeg")},
        {"Scan.TIFF", {}, {}},
        {"name \xFF.webp", {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        editor_.changeArtwork(std::nullopt);
        editor_.loadArtwork(folder(c.name));
        finishImport();
        EXPECT_EQ(message(), c.message);
        if (c.message.isEmpty()) {
            expectTaken(displayText(c.name), c.taken);
        } else {
            EXPECT_FALSE(editor_.selectedArtworkData->has_value());
        }
    }
}

TEST_F(ArtworkImportTest, pastesTheFirstOfWhatTheClipboardHas) {
    makeFile("a.png", picture("png", 4));
    const QByteArray list =
        "# a comment\r\nhttp://127.0.0.1/x.png\r\n" + folder("a.png").encoded() + "\r\n";
    using Format = std::pair<const char*, QByteArray>;
    const Format text{"text/plain", "text"};
    const Format files{"text/uri-list", list};
    const Format drawing{"image/svg+xml", "<svg/>"};
    const Format jpeg{"image/jpeg", picture("jpeg", 3)};
    const Format tiff{"image/tiff", picture("tiff", 2)};
    const Format png{"image/png", picture("png", 1)};
    struct Case {
        const char* what;
        std::vector<Format> formats;
        bool hasImage;
        std::optional<QString> name;
        QByteArray taken;  // empty: some PNG
    };
    const QString clipboard = QStringLiteral("Clipboard");
    const Case cases[] = {
        {"everything", {files, text, jpeg, tiff, png}, true, clipboard, png.second},
        {"TIFF before others",
         {files, text, jpeg, tiff},
         true,
         clipboard,
         *normalizedArtworkData(tiff.second)},
        {"another kind, byte for byte", {files, text, drawing, jpeg}, true, clipboard, jpeg.second},
        {"a decoded image before files", {files, text}, true, clipboard, {}},
        {"the first file", {files}, false, QStringLiteral("a.png"), picture("png", 4)},
        {"text", {text}, false, {}, {}},
        {"nothing", {}, false, {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        QMimeData data;
        for (const auto& [type, bytes] : c.formats) {
            data.setData(QString::fromLatin1(type), bytes);
        }
        if (c.hasImage) {
            data.setImageData(QImage(2, 2, QImage::Format_RGB32));
        }
        editor_.changeArtwork(std::nullopt);
        editor_.pasteArtwork(data);
        if (!c.name) {
            EXPECT_EQ(message(), QStringLiteral("The clipboard does not contain an image."));
            continue;
        }
        finishImport();
        expectTaken(*c.name, c.taken);
    }
}

TEST(ArtworkSource, aDragMustBeginWithAFile) {
    const std::pair<const char*, QByteArray> cases[] = {
        {"file:///a%20b/c%FF.png\r\nhttp://127.0.0.1/", "/a b/c\xFF.png"},
        {"file://localhost/a\n", "/a"},
        {"http://127.0.0.1/x.png\r\nfile:///a", {}},
        {"file://elsewhere/a", {}},
        {"", {}},
    };
    for (const auto& [list, path] : cases) {
        QMimeData data;
        data.setData(QStringLiteral("text/uri-list"), list);
        EXPECT_EQ(draggedFile(data).value_or(FileUrl()).path(), path) << list;
    }
    QMimeData made;  // as a program of this toolkit makes it
    made.setUrls({QUrl(QStringLiteral("file:///m%C3%BC/1.png"))});
    EXPECT_EQ(draggedFile(made).value_or(FileUrl()).path(), "/m\xC3\xBC/1.png");
}

TEST(ArtworkFormat, refusesWhatIsTooLargeBeforeItIsDecoded) {
    QByteArray declared = gifPicture();
    declared.replace(6, 4, "\xFF\xFF\xFF\xFF");
    const std::pair<const char*, QByteArray> cases[] = {
        {"64 megapixels in a small PNG", plainPicture("png", 8000)},
        {"100 megapixels", plainPicture("png", 10000)},
        {"100 megapixels as BMP", plainPicture("bmp", 10000)},
        {"100 megapixels as TIFF", plainPicture("tiff", 10000)},
        {"a GIF that declares four thousand megapixels", declared},
        {"a drawing", "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>"},
    };
    for (const auto& [what, bytes] : cases) {
        const PeakMemory memory;
        QElapsedTimer time;
        time.start();
        EXPECT_FALSE(normalizedArtworkData(bytes)) << what;
        EXPECT_LT(time.elapsed(), 5000) << what;
        EXPECT_LT(memory.growth(), 32'000'000) << what;
    }
    EXPECT_TRUE(normalizedArtworkData(plainPicture("png", 5000))) << "25 megapixels are taken";
}

TEST(ArtworkFormat, turnsAPictureTheWayItIsMeant) {
    const auto png = normalizedArtworkData(written(QImage(5, 4, QImage::Format_RGB32), "tiff",
                                                   QImageIOHandler::TransformationRotate90));
    ASSERT_TRUE(png);
    EXPECT_EQ(QImage::fromData(*png).size(), QSize(4, 5));
}

TEST_F(ArtworkImportTest, saysWhatASaveWillDo) {
    const auto note = [&](const std::vector<QByteArray>& names) {
        return AlbumTagEditor(state(), tracks(names)).note();
    };
    EXPECT_EQ(note({"a.mp3", "b.FLAC"}),
              QStringLiteral("Changes apply to 2 tracks. Track titles are preserved."));
    EXPECT_EQ(note({"a.mp3", "b.wav", "c.ogg"}),
              QStringLiteral("Changes apply to 1 MP3/FLAC tracks; 2 unsupported file(s) will be "
                             "skipped."));
}

}  // namespace
}  // namespace halvenor::test
