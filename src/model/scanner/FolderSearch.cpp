#include "model/scanner/FolderSearch.h"

#include <QHash>

#include <algorithm>
#include <utility>

#include "base/Collation.h"
#include "model/scanner/DirectoryReader.h"

namespace halvenor {

namespace {

class Search {
  public:
    Search(QString query, const std::stop_token& token) : query_(std::move(query)), token_(token) {}

    bool isStopped() const { return token_.stop_requested(); }

    // `root` and everything under it. A list of what is still to be read instead of a recursion:
    // folders nest as deep as somebody likes.
    void searchUnder(const FileUrl& root) {
        record(root);
        std::vector<FileUrl> unread = {root};
        while (!unread.empty() && !isStopped()) {
            const FileUrl folder = std::move(unread.back());
            unread.pop_back();
            DirectoryReader reader(folder);
            while (const auto entry = reader.next()) {
                if (isStopped()) {
                    return;
                }
                if (entry->kind == DirectoryReader::Kind::folder) {
                    const QByteArray name(entry->name.data(),
                                          static_cast<qsizetype>(entry->name.size()));
                    unread.push_back(folder.appendingPathComponent(name));
                    record(unread.back());
                }
            }
        }
    }

    FolderList sortedMatches() const {
        struct Row {
            QCollatorSortKey name;
            QCollatorSortKey id;
            const FolderItem* folder;
        };
        std::vector<Row> rows;
        rows.reserve(static_cast<size_t>(matches_.size()));
        for (const FolderItem& folder : matches_) {
            rows.push_back({localizedStandardKey(folder.displayName()),
                            localizedStandardKey(displayText(folder.id())), &folder});
        }
        // The bytes last: a hash table has no order that could be kept.
        std::ranges::sort(rows, [](const Row& a, const Row& b) {
            if (const int order = a.name.compare(b.name)) {
                return order < 0;
            }
            if (const int order = a.id.compare(b.id)) {
                return order < 0;
            }
            return a.folder->id() < b.folder->id();
        });
        FolderList sorted;
        sorted.reserve(rows.size());
        for (const Row& row : rows) {
            sorted.push_back(*row.folder);
        }
        return sorted;
    }

  private:
    void record(const FileUrl& url) {
        if (localizedCaseInsensitiveContains(displayText(url.lastPathComponent()), query_)) {
            matches_.insert(url.path(), FolderItem(url, true));
        }
    }

    QString query_;
    std::stop_token token_;
    QHash<QByteArray, FolderItem> matches_;
};

}  // namespace

FolderList searchFolders(const std::vector<FileUrl>& roots, const QString& query,
                         const std::stop_token& token) {
    const QString trimmed = query.trimmed();
    if (trimmed.isEmpty()) {
        return {};
    }
    Search search(trimmed, token);
    for (const FileUrl& root : roots) {
        search.searchUnder(root.standardized());
    }
    return search.isStopped() ? FolderList() : search.sortedMatches();
}

}  // namespace halvenor
