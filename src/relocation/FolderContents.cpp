#include "relocation/FolderContents.h"

#include <algorithm>
#include <vector>

#include "model/AudioExtensions.h"
#include "model/scanner/DirectoryReader.h"
#include "relocation/Fingerprint.h"
#include "relocation/FolderNames.h"

namespace halvenor {

namespace {

using Kind = DirectoryReader::Kind;

class WitnessSearch {
  public:
    explicit WitnessSearch(const std::stop_token& token) : token_(token) {}

    // `below` is the folder's path relative to the one that is searched, "" or with a slash at
    // its end.
    void look(const FileUrl& folder, const QByteArray& below) {
        for (const Entry& entry : sortedEntries(folder)) {
            if (isDone() || ++examined_ > mostExamined) {
                return;
            }
            const FileUrl url = folder.appendingPathComponent(entry.name);
            if (entry.kind == Kind::folder) {
                look(url, below + entry.name + '/');
            } else if (entry.kind == Kind::file) {
                take(url, below + entry.name);
            }
        }
    }

    QMap<QByteArray, QByteArray> takeFound() { return std::move(found_); }

  private:
    struct Entry {
        QByteArray name;
        Kind kind;
    };

    static constexpr int mostExamined = 256;
    static constexpr qsizetype mostWitnesses = 3;

    static std::vector<Entry> sortedEntries(const FileUrl& folder) {
        std::vector<Entry> entries;
        DirectoryReader reader(folder);
        while (const auto entry = reader.next()) {
            entries.push_back(
                {QByteArray(entry->name.data(), static_cast<qsizetype>(entry->name.size())),
                 entry->kind});
        }
        std::ranges::sort(entries, {}, &Entry::name);
        return entries;
    }

    bool isDone() const { return found_.size() == mostWitnesses || token_.stop_requested(); }

    void take(const FileUrl& url, const QByteArray& relative) {
        if (!supportedExtensions().contains(url.pathExtension().toLower())) {
            return;
        }
        if (const auto content = fingerprint(url)) {
            found_.insert(relative, *content);
        }
    }

    const std::stop_token& token_;
    int examined_ = 0;
    QMap<QByteArray, QByteArray> found_;
};

}  // namespace

std::optional<QList<QByteArray>> childrenAt(const FileUrl& folder) {
    FolderNames listing;
    return listing.list(folder) ? std::optional(listing.copies()) : std::nullopt;
}

QMap<QByteArray, QByteArray> witnessesIn(const FileUrl& folder, const std::stop_token& token) {
    WitnessSearch search(token);
    search.look(folder, {});
    return search.takeFound();
}

}  // namespace halvenor
