#include "model/TrackList.h"

namespace halvenor {

TrackList::TrackList(std::initializer_list<Track> tracks) {
    for (const Track& track : tracks) {
        append(track);
    }
}

const Track& TrackList::at(qsizetype row) const {
    return (*blocks_[static_cast<size_t>(row / blockSize)])[static_cast<size_t>(row % blockSize)];
}

Track& TrackList::mutableAt(qsizetype row) {
    std::shared_ptr<Block>& block = blocks_[static_cast<size_t>(row / blockSize)];
    if (block.use_count() > 1) {
        block = std::make_shared<Block>(*block);
    }
    return (*block)[static_cast<size_t>(row % blockSize)];
}

void TrackList::append(Track track) {
    if (size_ % blockSize == 0) {
        blocks_.push_back(std::make_shared<Block>());
        blocks_.back()->reserve(blockSize);
    } else if (blocks_.back().use_count() > 1) {
        blocks_.back() = std::make_shared<Block>(*blocks_.back());
    }
    blocks_.back()->push_back(std::move(track));
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

bool TrackList::updateById(const QList<Track>& updates) {
    if (isEmpty()) {
        return false;
    }
    bool any = false;
    for (const Track& update : updates) {
        qsizetype row = indexOfId(update.id());
        while (row >= 0) {
            mutableAt(row) = update;
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
    for (size_t block = 0; block < a.blocks_.size(); ++block) {
        if (a.blocks_[block] != b.blocks_[block] && *a.blocks_[block] != *b.blocks_[block]) {
            return false;
        }
    }
    return true;
}

}  // namespace halvenor
