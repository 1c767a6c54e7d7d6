// The ways in which an MP4 file tells how much of its AAC is music.

#include <QtEndian>

#include <cstdio>

#include "platform/decode/Decoding.h"

namespace halvenor::test {

namespace {

constexpr int64_t frames = 100003;

uint32_t be32At(const QByteArray& bytes, qsizetype at) {
    return qFromBigEndian<uint32_t>(bytes.constData() + at);
}

void setBe32(QByteArray& bytes, qsizetype at, uint32_t value) {
    qToBigEndian(value, bytes.data() + at);
}

QByteArray box(const char* type, const QByteArray& body) {
    QByteArray bytes(4, '\0');
    setBe32(bytes, 0, static_cast<uint32_t>(body.size()) + 8);
    return bytes + QByteArray(type, 4) + body;
}

/// An MP4 file whose boxes can be changed; its "moov" box stands last, so no offsets move.
class Mp4 {
  public:
    explicit Mp4(const QByteArray& bytes) : bytes_(bytes) {}

    const QByteArray& bytes() const { return bytes_; }

    /// Makes the box of the name one that nobody knows.
    void disable(const char* type) { bytes_.replace(find(type) + 4, 4, "free"); }

    /// Makes every sample last as long as the first, as encoders do that pad the last one.
    void makeDurationsAlike() {
        const qsizetype at = find("stts");
        const uint32_t entries = be32At(bytes_, at + 12);
        ASSERT_GE(entries, 2u);
        for (uint32_t i = 1; i < entries; ++i) {
            setBe32(bytes_, at + 20 + 8 * i, be32At(bytes_, at + 20));
        }
    }

    void addEncoderNote(const char* text) {
        const QByteArray zeros(4, '\0');
        const QByteArray note =
            box("----", box("mean", zeros + "com.apple.iTunes") + box("name", zeros + "iTunSMPB") +
                            box("data", QByteArray("\0\0\0\1\0\0\0\0", 8) + text));
        // Innermost first: what comes later stands further out and in front.
        const qsizetype ilst = find("ilst");
        bytes_.insert(ilst + be32At(bytes_, ilst), note);
        for (const char* type : {"ilst", "meta", "udta", "moov"}) {
            const qsizetype at = find(type);
            setBe32(bytes_, at, be32At(bytes_, at) + static_cast<uint32_t>(note.size()));
        }
    }

    void setEditDuration(uint32_t units) { setBe32(bytes_, find("elst") + 16, units); }
    uint32_t editDuration() const { return be32At(bytes_, find("elst") + 16); }

    /// Claims this many samples, all of one size.
    void setSampleSizes(uint32_t size, uint32_t count) {
        const qsizetype at = find("stsz");
        setBe32(bytes_, at + 12, size);
        setBe32(bytes_, at + 16, count);
    }

  private:
    qsizetype find(const char* type) const {
        const qsizetype at = bytes_.lastIndexOf(QByteArray(type, 4));
        EXPECT_GE(at, 4) << type;
        return at - 4;
    }

    QByteArray bytes_;
};

class Mp4Lengths : public testing::Test {
  protected:
    Mp4 file_{readBytes(MediaLibrary::shared().file("aac mp4", frames))};

    /// Writes the file, checks that telling and decoding agree, and gives the samples.
    std::vector<float> decoded() {
        const FileUrl url = written("changed.m4a", file_.bytes());
        const auto audio = AudioFile::open(url);
        const std::vector<float> samples = readAll(*audio);
        EXPECT_EQ(static_cast<int64_t>(samples.size()), audio->length() * 2);
        EXPECT_EQ(readStreamInfo(url)->frames, audio->length());
        return samples;
    }
};

TEST_F(Mp4Lengths, EditListIsCoarserThanTheSamples) {
    // In thousandths of a second, the edit list can't tell the last 44 frames.
    ASSERT_NE(file_.editDuration() * 441 / 10, frames);
    EXPECT_EQ(decoded().size(), size_t{frames} * 2);
}

TEST_F(Mp4Lengths, ShorterEditCuts) {
    file_.setEditDuration(1000);
    EXPECT_EQ(decoded().size(), size_t{44100} * 2);
}

TEST_F(Mp4Lengths, EncoderNoteTellsWhereNothingElseDoes) {
    const std::vector<float> reference = decoded();
    file_.makeDurationsAlike();
    file_.disable("edts");
    char text[80];
    std::snprintf(text, sizeof text, " 00000000 00000400 %08X %016llX 00000000", 349,
                  static_cast<unsigned long long>(frames));
    file_.addEncoderNote(text);
    EXPECT_EQ(firstDifference(decoded(), reference), -1);
}

TEST_F(Mp4Lengths, NonsenseInTheNoteIsPassedOver) {
    for (const char* text :
         {" 00000000 00000400 00000000 FFFFFFFFFFFFFFFF", " 00000000 00000400 00000000 00000000",
          "", " 0 0 0", " 00000000 7FFFFFFF 00000000 00000010"}) {
        SCOPED_TRACE(text);
        file_ = Mp4(readBytes(MediaLibrary::shared().file("aac mp4", frames)));
        file_.addEncoderNote(text);
        EXPECT_EQ(decoded().size(), size_t{frames} * 2);
    }
}

TEST_F(Mp4Lengths, SamplesThatCannotBeThereMakeNoRate) {
    file_.setSampleSizes(0xffffffff, 0xffffffff);
    const auto info = readStreamInfo(written("claims.m4a", file_.bytes()));
    ASSERT_TRUE(info);
    EXPECT_LE(info->dataRate / 8 * frames / 44100, static_cast<double>(file_.bytes().size()) * 1.1);
}

TEST_F(Mp4Lengths, WithoutAnyTellingTheDelayStays) {
    const std::vector<float> reference = decoded();
    file_.disable("edts");
    const std::vector<float> samples = decoded();
    ASSERT_EQ(samples.size(), size_t{frames + 1024} * 2);
    EXPECT_EQ(firstDifference({samples.begin() + 2048, samples.end()}, reference), -1);
}

}  // namespace

}  // namespace halvenor::test
