#include "AppStateFixture.h"

#include <QCoreApplication>

#include <filesystem>
#include <functional>

#include "selftest/audiowriter/AudioWriter.h"
#include "support/MediaLibrary.h"

namespace halvenor::test {

namespace {

QByteArray nameOf(const std::optional<Track>& track) {
    return track ? track->url().deletingPathExtension().lastPathComponent() : "none";
}

template <class List, class Name>
QByteArray joined(const List& list, Name name) {
    QList<QByteArray> words;
    for (const auto& each : list) {
        words.append(std::invoke(name, each));
    }
    return words.join(' ');
}

}  // namespace

AppStateFixture::AppStateFixture() {
    startState();
}

AppStateFixture::~AppStateFixture() {
    endState();
}

void AppStateFixture::endState() {
    state_.reset();
    QCoreApplication::processEvents();  // The tasks that were under way see that it is gone.
}

void AppStateFixture::startState() {
    endState();
    auto output = std::make_unique<ManualOutput>();
    output_ = output.get();
    state_ = std::make_unique<AppState>(
        AppState::Dependencies(std::move(output), folder("settings.json"), folder("data"),
                               [this] { return appearance_; }));
}

void AppStateFixture::startWith(const QByteArray& settings) {
    endState();
    makeFile("settings.json", settings);
    startState();
}

void AppStateFixture::makeFolder(const QByteArray& relative, const std::vector<QByteArray>& files) {
    // Without tags: a track's title is its file's name.
    static const QByteArray wav = [] {
        const FileUrl place = MediaLibrary::shared().place("plain.wav");
        const Signal signal = makeSignal(framesPerTrack);
        writeAudioFile(place, AudioFileType::wave16, signal.samples, signal.sampleRate,
                       signal.channels);
        return readBytes(place);
    }();
    directory_.makeFolder(relative);
    for (const QByteArray& name : files) {
        directory_.makeFile(relative + '/' + name, wav);
    }
}

Track AppStateFixture::track(const QByteArray& relative) const {
    TrackFields fields;
    fields.url = folder(relative);
    return Track(fields);
}

QList<Track> AppStateFixture::tracks(const std::vector<QByteArray>& relative) const {
    QList<Track> made;
    for (const QByteArray& each : relative) {
        made.append(track(each));
    }
    return made;
}

Playlist AppStateFixture::makePlaylist(const std::vector<QByteArray>& relative) {
    return state().playlistManager().createPlaylist(QStringLiteral("p"), tracks(relative));
}

void AppStateFixture::moveItem(const QByteArray& from, const QByteArray& to) {
    makeFolder(to.left(to.lastIndexOf('/')));
    std::filesystem::rename(folder(from).path().toStdString(), folder(to).path().toStdString());
}

void AppStateFixture::truncate(const QByteArray& relative, int bytesLeft) const {
    std::filesystem::resize_file(folder(relative).path().toStdString(), bytesLeft);
}

void AppStateFixture::openAndRead(const QByteArray& relative,
                                  const std::vector<QByteArray>& files) {
    makeFolder(relative, files);
    const FolderItem opened = item(relative);
    state().openFolder(opened);
    ASSERT_TRUE(spinUntil([&] {
        return state().isFolderLoaded(opened) && !state().metadataLoadingFolderID->has_value();
    }));
}

void AppStateFixture::addLocation(const QByteArray& relative,
                                  const std::vector<QByteArray>& files) {
    makeFolder(relative, files);
    state().openDirectory(folder(relative));
    ASSERT_TRUE(spinUntil([&] { return state().isFolderLoaded(item(relative)); }));
}

void AppStateFixture::addLibrary(
    const std::vector<std::pair<QByteArray, std::vector<QByteArray>>>& folders) {
    for (const auto& [name, files] : folders) {
        makeFolder("lib/" + name, files);
    }
    addLocation("lib");
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

QByteArray AppStateFixture::current() {
    return nameOf(*engine().currentTrack);
}

QByteArray AppStateFixture::queued() {
    return nameOf(engine().queuedTrack());
}

QString AppStateFixture::takeFailure() {
    EXPECT_TRUE(spinUntil([&] { return state().playbackErrorMessage->has_value(); }));
    const QString message = state().playbackErrorMessage->value_or(QString());
    state().playbackErrorMessage.mutate([](auto& text) { text.reset(); });
    return message;
}

Settings AppStateFixture::storedSettings() {
    state().settings().flush();
    return Settings(folder("settings.json"));
}

QByteArray titles(const TrackList& tracks) {
    return joined(tracks, nameOf);
}

QByteArray names(const FolderList& folders) {
    return joined(folders, &FolderItem::name);
}

}  // namespace halvenor::test
