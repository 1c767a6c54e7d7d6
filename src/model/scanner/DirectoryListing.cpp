#include "model/scanner/DirectoryListing.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Collation.h"
#include "model/AudioExtensions.h"
#include "model/scanner/DirectoryReader.h"

namespace halvenor {

namespace {

struct Format {
    std::string_view extension;  // lower case
    QString word;                // what the tracks show; one text shared by all
};

const std::array<Format, audioExtensions.size()>& formats() {
    static const auto all = [] {
        std::array<Format, audioExtensions.size()> made;
        std::ranges::transform(audioExtensions, made.begin(), [](std::string_view extension) {
            return Format{extension, QString::fromLatin1(extension.data(),
                                                         static_cast<qsizetype>(extension.size()))
                                         .toUpper()};
        });
        return made;
    }();
    return all;
}

constexpr char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// The format that a file's name stands for, or null. Hidden names do not come here, so a dot that
// is found is never the first character.
const Format* formatOf(std::string_view name) {
    const size_t dot = name.rfind('.');
    if (dot == std::string_view::npos) {
        return nullptr;
    }
    const std::string_view extension = name.substr(dot + 1);
    const auto found = std::ranges::find_if(formats(), [&](const Format& format) {
        return std::ranges::equal(extension, format.extension, {}, lowered);
    });
    return found == formats().end() ? nullptr : &*found;
}

// Rows with the keys that order them. Keys are compared often and rows moved once.
template <class Row>
class SortedRows {
  public:
    void add(const QString& name, Row row) {
        keys_.push_back(localizedStandardKey(name));
        rows_.push_back(std::move(row));
    }

    /// Calls `take` with each row, in order.
    template <class Take>
    void takeAll(Take take) {
        std::vector<uint32_t> order(rows_.size());
        std::iota(order.begin(), order.end(), 0U);
        std::ranges::stable_sort(
            order, [this](uint32_t a, uint32_t b) { return keys_[a].compare(keys_[b]) < 0; });
        for (const uint32_t row : order) {
            take(std::move(rows_[row]));
        }
    }

  private:
    std::vector<QCollatorSortKey> keys_;
    std::vector<Row> rows_;
};

// Makes the skeletons of one folder. What they have in common is one text for all.
class SkeletonMaker {
  public:
    explicit SkeletonMaker(const QString& album) : album_(album) {}

    Track made(FileUrl url, const QString& name, const Format& format, int64_t size) const {
        TrackFields fields;
        fields.url = std::move(url);
        fields.title = name.chopped(static_cast<qsizetype>(format.extension.size()) + 1);
        fields.artist = none_;
        fields.album = album_;
        fields.albumArtist = none_;
        fields.format = format.word;
        fields.fileSize = size;
        return Track(std::move(fields));
    }

  private:
    QString album_;
    QString none_ = QStringLiteral("");
};

// Paths of one folder's entries. A plain join: nothing in them needs to be looked at again.
class PathMaker {
  public:
    explicit PathMaker(const FileUrl& folder)
        : prefix_(folder.path().endsWith('/') ? folder.path() : folder.path() + '/') {}

    FileUrl made(std::string_view name) const {
        QByteArray path;
        path.reserve(prefix_.size() + static_cast<qsizetype>(name.size()));
        path.append(prefix_);
        path.append(name.data(), static_cast<qsizetype>(name.size()));
        return FileUrl(std::move(path));
    }

  private:
    QByteArray prefix_;
};

QString textOf(std::string_view name) {
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

}  // namespace

DirectorySnapshot listDirectory(const FileUrl& url, const std::stop_token& token) {
    const PathMaker paths(url);
    const SkeletonMaker skeletons(displayText(url.lastPathComponent()));
    SortedRows<FolderItem> folders;
    SortedRows<Track> tracks;
    DirectoryReader reader(url);
    while (const auto entry = reader.next()) {
        if (token.stop_requested()) {
            return {};
        }
        if (entry->kind == DirectoryReader::Kind::folder) {
            folders.add(textOf(entry->name), FolderItem(paths.made(entry->name), true));
        } else if (entry->kind == DirectoryReader::Kind::file) {
            if (const Format* const format = formatOf(entry->name)) {
                const QString name = textOf(entry->name);
                const int64_t size = entry->size ? *entry->size : reader.fileSize(entry->name);
                tracks.add(name, skeletons.made(paths.made(entry->name), name, *format, size));
            }
        }
    }
    DirectorySnapshot snapshot;
    folders.takeAll([&](FolderItem folder) { snapshot.folders.push_back(std::move(folder)); });
    tracks.takeAll([&](Track track) { snapshot.tracks.append(std::move(track)); });
    return snapshot;
}

}  // namespace halvenor
