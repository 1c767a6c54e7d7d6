#pragma once

#include <QHash>
#include <QList>

#include <cstddef>
#include <iterator>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "model/Track.h"

namespace halvenor {

/// An ordered list of tracks that many may hold: a value whose copies share their rows.
///
/// Rows lie in shared blocks, and these on shared pages, so that publishing a list in which eight
/// tracks changed costs those eight and not the hundred thousand beside them. One file may stand in
/// a list more than once. A list belongs to one thread at a time; copies of it may go to others.
class TrackList {
  public:
    TrackList() = default;
    TrackList(std::initializer_list<Track> tracks);

    qsizetype size() const { return size_; }
    bool isEmpty() const { return size_ == 0; }
    const Track& at(qsizetype row) const;
    const Track& operator[](qsizetype row) const { return at(row); }
    const Track& first() const { return at(0); }

    void append(Track track);
    void replace(qsizetype row, const Track& track);

    /// The first row whose track has this id, or -1. The first call on a list indexes it; copies
    /// made later share the index.
    qsizetype indexOfId(const QByteArray& id) const;
    bool containsId(const QByteArray& id) const { return indexOfId(id) >= 0; }

    /// Puts each of `updates` in the place of every row with its id; of two updates with one id the
    /// last wins. Order and ids stay. Costs what changes.
    /// @return whether any row had one of the ids
    bool updateById(const QList<Track>& updates);

    /// Whether both hold the same ids in the same order, as far as that is known without looking:
    /// true for a list and its copies, however their records were updated by updateById or replace.
    bool hasSameRowsAs(const TrackList& other) const { return rows_ && rows_ == other.rows_; }

    /// Stands for "these ids in this order" for as long as somebody holds it. Null for a list that
    /// never had a row.
    using RowsIdentity = std::shared_ptr<const void>;
    RowsIdentity rowsIdentity() const { return rows_; }

    class const_iterator {
      public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = Track;
        using difference_type = qsizetype;
        using pointer = const Track*;
        using reference = const Track&;

        const_iterator() = default;
        const_iterator(const TrackList* list, qsizetype row) : list_(list), row_(row) {}
        reference operator*() const { return list_->at(row_); }
        pointer operator->() const { return &list_->at(row_); }
        const_iterator& operator++() {
            ++row_;
            return *this;
        }
        const_iterator operator++(int) { return const_iterator(list_, row_++); }
        friend difference_type operator-(const const_iterator& a, const const_iterator& b) {
            return a.row_ - b.row_;
        }
        bool operator==(const const_iterator&) const = default;

      private:
        const TrackList* list_ = nullptr;
        qsizetype row_ = 0;
    };
    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, size_}; }

    /// Row by row, whole records. Fast for lists that share blocks.
    friend bool operator==(const TrackList& a, const TrackList& b);

  private:
    static constexpr qsizetype blockSize = 64;  // rows
    static constexpr qsizetype pageSize = 64;   // blocks
    using Block = std::vector<Track>;
    using Page = std::vector<std::shared_ptr<Block>>;

    // Which rows an id has. Made on demand; its address stands for "these ids in this order".
    struct RowIndex {
        QHash<QByteArray, qsizetype> firstRow;
        std::vector<qsizetype> nextRowOfSameId;  // -1 ends a chain; empty while no id repeats
    };
    struct Rows {
        std::once_flag isIndexed;  // Copies on several threads may be the first to ask.
        std::unique_ptr<RowIndex> index;
    };

    const Block& blockOf(qsizetype row) const;
    Track& mutableAt(qsizetype row);
    /// As indexOfId(); `likely` is a row to look at first.
    qsizetype indexOfId(const QByteArray& id, qsizetype likely) const;
    const RowIndex& index() const;

    std::vector<std::shared_ptr<Page>> pages_;
    qsizetype size_ = 0;
    std::shared_ptr<Rows> rows_;
};

}  // namespace halvenor
