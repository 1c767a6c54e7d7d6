#pragma once

#include <QByteArray>
#include <QTemporaryDir>

#include <cstdint>

namespace halvenor::bench {

/// A tree of empty files, as deep and as bushy as a home folder, made quickly. Gone at its end.
class LargeTree {
  public:
    static constexpr int branches[] = {76, 50, 20};  ///< folders in each folder, level by level
    static constexpr int files = 12;                 ///< in each folder of the last level

    LargeTree();
    LargeTree(const LargeTree&) = delete;
    LargeTree& operator=(const LargeTree&) = delete;
    ~LargeTree();

    QByteArray path() const { return folder_.path().toUtf8(); }
    /// A folder of the last level: its numbers, level by level.
    QByteArray folder(int first, int second, int third) const;
    static QByteArray fileName(int number);

  private:
    QTemporaryDir folder_;
};

/// Counts what is below a folder by reading the entries of every folder, and nothing more.
int64_t bareWalk(const QByteArray& path);

}  // namespace halvenor::bench
