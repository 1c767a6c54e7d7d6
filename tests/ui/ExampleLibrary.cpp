#include "ui/ExampleLibrary.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>

#include "platform/audio/Outputs.h"

namespace halvenor::test {

namespace {

struct Line {
    const char* title;
    double seconds;
};

Track albumTrack(int number, const Line& line, const Artwork& cover) {
    TrackFields fields;
    fields.url =
        FileUrl("/music/Glass Harbour/2019 - Tidal Rooms/" + QByteArray::number(number) + ".flac");
    fields.title = QString::fromUtf8(line.title);
    fields.artist = number == 6 ? QStringLiteral("Glass Harbour feat. 小林 海")
                                : QStringLiteral("Glass Harbour");
    fields.album = QStringLiteral("Tidal Rooms");
    fields.albumArtist = QStringLiteral("Glass Harbour");
    fields.year = 2019;
    fields.duration = line.seconds;
    fields.format = number == 9 ? QStringLiteral("MP3") : QStringLiteral("FLAC");
    fields.bitrate = number == 9 ? 320 : 941;
    fields.artworkData = cover;
    return Track(fields);
}

}  // namespace

std::unique_ptr<AppState> makeState(const FileUrl& settingsFile) {
    return std::make_unique<AppState>(AppState::Dependencies(
        makeSilentOutput(), settingsFile,
        settingsFile.deletingLastPathComponent().appendingPathComponent("data"),
        [] { return SystemAppearance::dark; }));
}

Track exampleTrack(const QByteArray& path, const QString& title, const QString& artist,
                   double seconds) {
    TrackFields fields;
    fields.url = FileUrl(path);
    fields.title = title;
    fields.artist = artist;
    fields.duration = seconds;
    fields.format = QStringLiteral("FLAC");
    return Track(fields);
}

FolderList addFolders(AppState& state, const FolderItem& parent, const QList<QByteArray>& names) {
    FolderList folders;
    for (const QByteArray& name : names) {
        folders.emplace_back(parent.url().appendingPathComponent(name), true);
    }
    state.folderChildren.mutate([&](auto& children) { children.insert(parent.id(), folders); });
    state.loadedFolderIDs.mutate([&](auto& ids) { ids.insert(parent.id()); });
    return folders;
}

FolderList addRoots(AppState& state, const QList<QByteArray>& names) {
    FolderList roots;
    for (const QByteArray& name : names) {
        roots.emplace_back(FileUrl("/music/" + name), true);
    }
    state.rootFolders = roots;
    for (const FolderItem& root : roots) {
        state.availableLocationPaths.mutate([&](auto& paths) { paths.insert(root.id()); });
        addFolders(state, root, {});
    }
    return roots;
}

Artwork exampleCover(int hue) {
    QImage image(600, 600, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 600);
    sky.setColorAt(0, QColor::fromHsv(hue, 120, 90));
    sky.setColorAt(0.6, QColor::fromHsv((hue + 30) % 360, 150, 200));
    sky.setColorAt(1, QColor::fromHsv((hue + 60) % 360, 110, 245));
    painter.fillRect(image.rect(), sky);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 210));
    painter.drawEllipse(QPointF(300, 330), 120, 120);
    for (int wave = 0; wave < 7; ++wave) {
        painter.setBrush(QColor::fromHsv(hue, 170, 70 + wave * 8, 150));
        painter.drawEllipse(QPointF(180.0 + wave * 60, 640), 330, 260 - wave * 22);
    }
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return Artwork(bytes);
}

QList<float> examplePeaks() {
    QList<float> peaks;
    for (int i = 0; i < 160; ++i) {
        const double swell = 0.5 + 0.28 * std::sin(i * 0.045) + 0.16 * std::sin(i * 0.21);
        const double noise = std::sin(i * 12.9898) * 43758.5453;
        const double grain = 0.5 + 0.5 * (noise - std::floor(noise));
        peaks.append(static_cast<float>(std::clamp(swell * grain + 0.06, 0.08, 1.0)));
    }
    return peaks;
}

void fillWithExample(AppState& state) {
    const FolderList roots = addRoots(state, {"Concerts", "Music", "Vinyl Rips"});
    const FolderList artists =
        addFolders(state, roots[1],
                   {"Ana Teles", "Borealis Choir", "Glass Harbour", "Łukasz Wrona", "Mono no Aware",
                    "Nachtzug", "Orrin & the Long Way Round", "The Paper Lanterns", "Виктор Зимин",
                    "小林 海"});
    const FolderList albums =
        addFolders(state, artists[2],
                   {"2014 - Salt", "2016 - Lighthouse Keeping for Beginners (Deluxe Edition)",
                    "2019 - Tidal Rooms", "2022 - Slack Water"});
    addFolders(state, albums[2], {});
    state.expandedFolderIDs = QSet<QByteArray>{roots[1].id(), artists[2].id()};
    state.markedFolderIDs = QSet<QByteArray>{albums[0].id(), artists[5].id(), albums[2].id()};
    const Artwork cover = exampleCover(205);
    constexpr Line lines[] = {
        {"Undertow", 254},
        {"Rooms by the Water", 311},
        {"Low Light, High Tide", 198},
        {"Harbour Bells", 276},
        {"The Ferryman's Daughter Remembers the Year the Sea Froze Over", 402},
        {"海の部屋", 233},
        {"Salt Hymn", 187},
        {"Every Window Facing West", 345},
        {"Coda for a Foghorn", 129},
        {"Breakwater", 288},
        {"Morning, Emptied", 512}};
    TrackList tracks;
    int number = 0;
    for (const Line& line : lines) {
        tracks.append(albumTrack(++number, line, cover));
    }
    state.selectedFolder = albums[2];
    state.playbackQueue = tracks;
    state.playingQueue = tracks;
    state.selectedTrack = tracks[2];
    state.selectedTrackIDs = QSet<QByteArray>{tracks[5].id()};
    AudioEngineManager& engine = state.audioEngine();
    engine.currentTrack = tracks[2];
    engine.duration = tracks[2].duration();
    engine.currentTime = 71;
    engine.isPlaying = true;
    engine.volume = 0.7F;
    state.waveformPeaks = examplePeaks();
    TrackList history;
    history.append(tracks[1]);
    history.append(tracks[0]);
    Track other = exampleTrack("/music/n/1.mp3", QStringLiteral("Schlafwagen nach Triest"),
                               QStringLiteral("Nachtzug"), 421);
    other.setArtworkData(exampleCover(20));
    history.append(other);
    history.append(exampleTrack("/music/n/2.mp3", QStringLiteral("Зимняя дорога"),
                                QStringLiteral("Виктор Зимин"), 187));
    state.playbackHistory = history;
}

}  // namespace halvenor::test
