#include <QTemporaryDir>
#include <QtEndian>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>
#include <vector>

#include "playback/AudioEngineManager.h"
#include "support/EventLoop.h"
#include "support/ManualOutput.h"

using namespace halvenor;
using namespace halvenor::test;

namespace {

/// A 16-bit stereo WAVE file of a ramp that begins at `first`.
QByteArray wave(int16_t first, int frames) {
    QByteArray data;
    for (int i = 0; i < frames * 2; ++i) {
        const auto sample = qToLittleEndian<int16_t>(static_cast<int16_t>(first + i));
        data.append(reinterpret_cast<const char*>(&sample), sizeof sample);
    }
    const auto u32 = [](uint32_t value) {
        value = qToLittleEndian(value);
        return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
    };
    const auto size = static_cast<uint32_t>(data.size());
    return "RIFF" + u32(36 + size) + "WAVEfmt " + u32(16) + QByteArray("\1\0\2\0", 4) + u32(44100) +
           u32(44100 * 4) + QByteArray("\4\0\20\0", 4) + "data" + u32(size) + data;
}

Track write(const FileUrl& url, const QByteArray& content) {
    const int file = ::open(url.path().constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    EXPECT_EQ(::write(file, content.constData(), static_cast<size_t>(content.size())),
              content.size());
    ::close(file);
    TrackFields fields;
    fields.url = url;
    return Track(fields);
}

}  // namespace

// The queued file has a name that is no text, and is deleted before it is heard.
TEST(AudioEngineManager, PlaysRealFilesThatAreOpenThoughDeleted) {
    const QTemporaryDir folder;
    const FileUrl root(folder.path().toLatin1());
    const Track a = write(root.appendingPathComponent("a.wav"), wave(-9000, 4001));
    const Track b = write(root.appendingPathComponent("b\xff.wav"), wave(100, 5003));

    auto made = std::make_unique<ManualOutput>(AudioFormat{44100, 2});
    ManualOutput* output = made.get();
    AudioEngineManager engine(std::move(made));
    std::vector<QByteArray> transitions;
    engine.onGaplessTransition = [&](const Track& track) { transitions.push_back(track.id()); };
    engine.loadAndPlay(a);
    engine.setNextTrack(b);
    ASSERT_EQ(engine.queuedTrack(), b);
    ::unlink(a.url().path().constData());
    ::unlink(b.url().path().constData());
    EXPECT_TRUE(spinUntil([&] {
        output->play(1000);
        return !*engine.isPlaying;
    }));

    EXPECT_THAT(transitions, testing::ElementsAre(b.id()));
    const std::vector<float>& heard = output->heard();
    ASSERT_EQ(heard.size(), (4001U + 5003U) * 2);
    for (size_t i = 0; i < heard.size(); ++i) {
        const size_t first = 4001 * 2;
        const double sample =
            i < first ? -9000.0 + static_cast<double>(i) : 100.0 + static_cast<double>(i - first);
        ASSERT_EQ(heard[i], sample / 32768) << "sample " << i;
    }
}
