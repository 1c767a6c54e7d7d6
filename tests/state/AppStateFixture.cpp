#include "AppStateFixture.h"

#include <QCoreApplication>
#include <QtEndian>

namespace halvenor::test {

namespace {

template <class Integer>
void append(QByteArray& bytes, Integer value) {
    const Integer little = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
}

QByteArray shortWav() {
    constexpr uint16_t channels = 2;
    constexpr uint32_t rate = 44100;
    constexpr uint32_t dataSize = framesPerTrack * channels * 2;
    QByteArray wav("RIFF");
    append<uint32_t>(wav, 36 + dataSize);
    wav += "WAVEfmt ";
    append<uint32_t>(wav, 16);
    append<uint16_t>(wav, 1);  // integer samples
    append<uint16_t>(wav, channels);
    append<uint32_t>(wav, rate);
    append<uint32_t>(wav, rate * channels * 2);
    append<uint16_t>(wav, channels * 2);
    append<uint16_t>(wav, 16);
    wav += "data";
    append<uint32_t>(wav, dataSize);
    for (int i = 0; i < framesPerTrack * channels; ++i) {
        append<int16_t>(wav, static_cast<int16_t>(i * 7 % 20000 - 10000));
    }
    return wav;
}

}  // namespace

AppStateFixture::AppStateFixture() {
    startState();
}

void AppStateFixture::startState() {
    state_.reset();
    auto output = std::make_unique<ManualOutput>();
    output_ = output.get();
    state_ = std::make_unique<AppState>(AppState::Dependencies(
        std::move(output), folder("settings.json"), [this] { return appearance_; }));
}

void AppStateFixture::makeFolder(const QByteArray& relative, const std::vector<QByteArray>& files) {
    static const QByteArray wav = shortWav();
    directory_.makeFolder(relative);
    for (const QByteArray& name : files) {
        directory_.makeFile(relative + '/' + name, wav);
    }
}

void AppStateFixture::openAndRead(const QByteArray& relative) {
    const FolderItem opened = item(relative);
    state().openFolder(opened);
    ASSERT_TRUE(spinUntil([&] {
        return state().isFolderLoaded(opened) && !state().metadataLoadingFolderID->has_value();
    }));
}

void AppStateFixture::addLocation(const QByteArray& relative) {
    state().openDirectory(folder(relative));
    ASSERT_TRUE(spinUntil([&] { return state().isFolderLoaded(item(relative)); }));
}

void AppStateFixture::playTrackToItsEnd() {
    int changes = 0;
    const Subscription tracks = engine().currentTrack.subscribe([&](const auto&) { ++changes; });
    // One step at a time: what a step ends is known before the next is taken.
    ASSERT_TRUE(spinUntil([&] {
        engine().waitUntilIdle();
        output_->play(256);
        engine().waitUntilIdle();
        QCoreApplication::processEvents();
        return changes > 0 || !*engine().isPlaying;
    }));
    QCoreApplication::processEvents();
}

Settings AppStateFixture::storedSettings() {
    state().settings().flush();
    return Settings(folder("settings.json"));
}

QByteArray titles(const TrackList& tracks) {
    QList<QByteArray> words;
    for (const Track& track : tracks) {
        words.append(track.url().deletingPathExtension().lastPathComponent());
    }
    return words.join(' ');
}

QByteArray names(const FolderList& folders) {
    QList<QByteArray> words;
    for (const FolderItem& folder : folders) {
        words.append(folder.name());
    }
    return words.join(' ');
}

}  // namespace halvenor::test
