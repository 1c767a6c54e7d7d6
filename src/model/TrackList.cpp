#include "model/TrackList.h"

namespace halvenor {

namespace {

// What others hold too is copied before it is changed.
template <class Shared>
Shared& owned(std::shared_ptr<Shared>& place) {
    if (place.use_count() > 1) {
        place = std::make_shared<Shared>(*place);
    }
    return *place;
}

}  // namespace

TrackList::TrackList(std::initializer_list<Track> tracks) {
    for (const Track& track : tracks) {
        append(track);
    }
}

const TrackList::Block& TrackList::blockOf(qsizetype row) const {
    const Page& page = *pages_[static_cast<size_t>(row / (blockSize * pageSize))];
    return *page[static_cast<size_t>(row / blockSize % pageSize)];
}

const Track& TrackList::at(qsizetype row) const {
    return blockOf(row)[static_cast<size_t>(row % blockSize)];
}

Track& TrackList::mutableAt(qsizetype row) {
    Page& page = owned(pages_[static_cast<size_t>(row / (blockSize * pageSize))]);
    Block& block = owned(page[static_cast<size_t>(row / blockSize % pageSize)]);
    return block[static_cast<size_t>(row % blockSize)];
}

void TrackList::append(Track track) {
    if (size_ % (blockSize * pageSize) == 0) {
        pages_.push_back(std::make_shared<Page>());
    }
    Page& page = owned(pages_.back());
    if (size_ % blockSize == 0) {
        page.push_back(std::make_shared<Block>());
        page.back()->reserve(blockSize);
    }
    owned(page.back()).push_back(std::move(track));
    ++size_;
    if (!rows_ || rows_.use_count() > 1 || rows_->index) {
        rows_ = std::make_shared<Rows>();
    }
}

void TrackList::replace(qsizetype row, const Track& track) {
    if (at(row).id() != track.id()) {
        rows_ = std::make_shared<Rows>();
    }
    mutableAt(row) = track;
}

const TrackList::RowIndex& TrackList::index() const {
    std::call_once(rows_->isIndexed, [this] {
        auto made = std::make_unique<RowIndex>();
        made->firstRow.reserve(size_);
        for (qsizetype row = size_ - 1; row >= 0; --row) {
            qsizetype& first = made->firstRow[at(row).id()];
            const bool isRepeated = first != 0;  // Rows are counted from 1 here.
            if (isRepeated) {
                made->nextRowOfSameId.resize(static_cast<size_t>(size_), -1);
                made->nextRowOfSameId[static_cast<size_t>(row)] = first - 1;
            }
            first = row + 1;
        }
        rows_->index = std::move(made);
    });
    return *rows_->index;
}

qsizetype TrackList::indexOfId(const QByteArray& id) const {
    // Rows are stored from 1, so that an id without a row reads as -1.
    return isEmpty() ? -1 : index().firstRow.value(id, 0) - 1;
}

// Updates mostly come in the order of the rows. Then none of them needs the index, whose entries
// lie all over the memory.
qsizetype TrackList::indexOfId(const QByteArray& id, qsizetype likely) const {
    if (index().nextRowOfSameId.empty() && likely < size_ && at(likely).id() == id) {
        return likely;
    }
    return indexOfId(id);
}

bool TrackList::updateById(const QList<Track>& updates) {
    if (isEmpty()) {
        return false;
    }
    bool any = false;
    qsizetype likely = 0;
    for (const Track& update : updates) {
        qsizetype row = indexOfId(update.id(), likely);
        while (row >= 0) {
            mutableAt(row) = update;
            likely = row + 1;
            any = true;
            const auto& next = index().nextRowOfSameId;
            row = next.empty() ? -1 : next[static_cast<size_t>(row)];
        }
    }
    return any;
}

bool operator==(const TrackList& a, const TrackList& b) {
    if (a.size_ != b.size_) {
        return false;
    }
    constexpr qsizetype step = TrackList::blockSize;
    for (qsizetype row = 0; row < a.size_; row += step) {
        const TrackList::Block& ours = a.blockOf(row);
        const TrackList::Block& theirs = b.blockOf(row);
        if (&ours != &theirs && ours != theirs) {
            return false;
        }
    }
    return true;
}

}  // namespace halvenor
