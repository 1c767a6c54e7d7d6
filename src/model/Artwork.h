#pragma once

#include <QByteArray>
#include <QHashFunctions>

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace halvenor {

/// The encoded bytes of a cover as found in a file's tags; absent when default-made.
///
/// Immutable and shared: the tracks of an album hold one copy between them (ArtworkPool). Equality
/// is by content. Any thread.
class Artwork {
  public:
    Artwork() = default;
    explicit Artwork(QByteArray bytes)
        : bytes_(std::make_shared<const QByteArray>(std::move(bytes))) {}

    bool isPresent() const { return bytes_ != nullptr; }
    /// The bytes; empty when absent.
    const QByteArray& bytes() const;
    /// The same for all that share one copy: a cheap key for caches of decoded images.
    const void* identity() const { return bytes_.get(); }

    friend bool operator==(const Artwork& a, const Artwork& b);
    friend size_t qHash(const Artwork& artwork, size_t seed) noexcept;

  private:
    friend class ArtworkPool;
    explicit Artwork(std::shared_ptr<const QByteArray> bytes) : bytes_(std::move(bytes)) {}

    std::shared_ptr<const QByteArray> bytes_;
};

size_t qHash(const Artwork& artwork, size_t seed = 0) noexcept;

/// Finds equal covers, so that each is in memory once for as long as any track holds it.
///
/// The pool keeps nothing alive. Any thread: readers of tags on several threads share one pool,
/// and its lock is never held during file access.
class ArtworkPool {
  public:
    static ArtworkPool& shared();

    /// The pooled artwork with these bytes. They are copied only if the pool has no equal ones.
    Artwork intern(const char* data, size_t size);

  private:
    static constexpr size_t firstCleaning = 1024;  // keys
    using Candidates = std::vector<std::weak_ptr<const QByteArray>>;

    void removeDead();

    std::mutex mutex_;
    std::unordered_map<size_t, Candidates> candidatesByKey_;
    size_t nextCleaning_ = firstCleaning;
};

}  // namespace halvenor
