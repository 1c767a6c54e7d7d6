#pragma once

#include <QString>

#include <optional>
#include <vector>

#include "base/FileUrl.h"
#include "model/TrackList.h"

namespace halvenor {

/// One folder of the tree: a name for a place. What is known of it (its sub-folders and tracks)
/// lives with the tree's state, so `children` is normally absent and `tracks` empty. A plain value,
/// identified by `id`; equality is of the whole record.
class FolderItem {
  public:
    FolderItem() = default;
    FolderItem(FileUrl url, bool isDirectory,
               std::optional<std::vector<FolderItem>> children = std::nullopt,
               TrackList tracks = {});

    /// The path bytes of the URL, exactly as handed in.
    const QByteArray& id() const { return url_.path(); }
    const FileUrl& url() const { return url_; }
    /// The last path component, as bytes.
    const QByteArray& name() const { return name_; }
    /// The name as text to show.
    QString displayName() const { return displayText(name_); }
    bool isDirectory() const { return isDirectory_; }

    std::optional<std::vector<FolderItem>> children;
    TrackList tracks;

    friend bool operator==(const FolderItem& a, const FolderItem& b);
    friend size_t qHash(const FolderItem& folder, size_t seed) noexcept;

  private:
    FileUrl url_;
    QByteArray name_;
    bool isDirectory_ = true;
};

size_t qHash(const FolderItem& folder, size_t seed = 0) noexcept;

/// Folders in order.
using FolderList = std::vector<FolderItem>;

}  // namespace halvenor
