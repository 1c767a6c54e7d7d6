#include "relocation/RelocationStore.h"

#include <future>
#include <optional>
#include <utility>

#include "base/StoreFile.h"
#include "platform/bookmark/Bookmark.h"
#include "relocation/MoveDetection.h"

namespace halvenor {

namespace {

// Whether both are the same, which they nearly always are by sharing their memory.
bool areEqual(const RelocationRecords& a, const RelocationRecords& b) {
    return (a.constData() == b.constData() && a.size() == b.size()) || a == b;
}

}  // namespace

class RelocationStore::Impl {
  public:
    explicit Impl(const FileUrl& storageURL)
        : file_(storageURL), loading_(std::async(std::launch::async, [this] {
              file_.read([this](const QByteArray& json) { loaded_ = decodedRecords(json); });
          })) {}

    const FileUrl& url() const { return file_.url(); }

    const RelocationRecords& records() {
        if (!std::exchange(isLoaded_, true)) {
            loading_.wait();
            saved_ = std::exchange(loaded_, std::nullopt);
            records_ = saved_.value_or(RelocationRecords());
        }
        return records_;
    }

    void waitUntilLoaded() const { loading_.wait(); }

    void install(const RelocationRecords& records) {
        this->records();  // The file is read before it is written.
        records_ = records;
        if (saved_ && areEqual(*saved_, records_) && file_.isUpToDate()) {
            return;
        }
        saved_ = records_;
        file_.save([records] { return encodedRecords(records); });
    }

    bool flush() {
        records();
        return file_.flush();
    }

  private:
    StoreFile file_;
    std::optional<RelocationRecords> loaded_;  // the loading thread's, until that has ended
    const std::shared_future<void> loading_;   // ends before the file
    bool isLoaded_ = false;
    RelocationRecords records_;
    std::optional<RelocationRecords> saved_;  // what the file holds, or was last given
};

RelocationStore::RelocationStore(const FileUrl& storageURL)
    : impl_(std::make_unique<Impl>(storageURL)) {}

RelocationStore::~RelocationStore() = default;

void RelocationStore::waitUntilLoaded() const {
    impl_->waitUntilLoaded();
}

const FileUrl& RelocationStore::storageURL() const {
    return impl_->url();
}

const RelocationRecords& RelocationStore::records() const {
    return impl_->records();
}

void RelocationStore::install(const RelocationRecords& records) {
    impl_->install(records);
}

void RelocationStore::synchronize(const QSet<QByteArray>& files, const QSet<QByteArray>& folders) {
    install(prepared(records(), files, folders));
}

void RelocationStore::remap(const MoveTable& moves) {
    install(remappedRecords(records(), moves));
}

void RelocationStore::renewBookmarks(const QSet<QByteArray>& paths) {
    RelocationRecords renewed = records();
    for (qsizetype index = 0; index < renewed.size(); ++index) {
        const QByteArray& path = renewed.at(index).path;
        if (!paths.contains(path)) {
            continue;
        }
        if (auto bookmark = makeBookmark(FileUrl(path))) {
            renewed[index].bookmark = std::move(bookmark);
        }
    }
    install(renewed);
}

bool RelocationStore::flush() {
    return impl_->flush();
}

RelocationRecords remappedRecords(RelocationRecords records, const MoveTable& moves) {
    for (qsizetype index = 0; index < records.size(); ++index) {
        const QByteArray path = remapped(records.at(index).path, moves);
        if (path != records.at(index).path) {
            records[index].path = path;
            records[index].bookmark = makeBookmark(FileUrl(path));
        }
    }
    return records;
}

}  // namespace halvenor
