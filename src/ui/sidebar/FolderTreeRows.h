#pragma once

#include <QByteArray>
#include <QHash>
#include <QSet>

#include <optional>
#include <vector>

#include "model/FolderItem.h"

// What the folder tree shows and where its keys lead: pure functions over what is known of the
// folders, so that a table of cases can test them.
namespace halvenor {

/// The filter of the tree: everything, or the marked folders and the ways down to them.
class FolderFilter {
  public:
    FolderFilter(bool isMarkedOnly, const QSet<QByteArray>& marked);

    bool shows(const FolderItem& folder) const;

  private:
    bool isMarkedOnly_;
    QSet<QByteArray> shown_;  // the marked ones and every folder above one
};

/// What the tree is made from. Holds references: for the duration of a call.
struct FolderTreeSource {
    const FolderList& roots;
    const QHash<QByteArray, FolderList>& children;
    const QSet<QByteArray>& expanded;
    const FolderFilter& filter;
    /// With a query its results are shown, flat, in the place of the tree.
    bool hasQuery = false;
    const FolderList& results;

    const FolderList& childrenOf(const FolderItem& folder) const;
};

/// One row as shown.
struct FolderRow {
    FolderItem folder;
    int depth = 0;
    bool allowsExpansion = true;

    /// Whether this is the same row: of the same folder in the same place of the tree.
    bool isSameRowAs(const FolderRow& other) const {
        return depth == other.depth && allowsExpansion == other.allowsExpansion &&
               folder.id() == other.folder.id();
    }
};
using FolderRows = std::vector<FolderRow>;

/// The rows from top to bottom: depth first, down into expanded folders alone.
FolderRows visibleFolderRows(const FolderTreeSource& source);

/// Where `id` stands in `rows`, or -1.
int rowOfFolder(const FolderRows& rows, const QByteArray& id);

/// The row that an up or down key leads to: held at both ends; the near end without a selection.
/// @param selected -1 for none
/// @return -1 with no rows
int rowAfterMove(int count, int selected, int by);

/// What a left or right key does.
struct FolderTreeStep {
    enum class Kind { none, open, expand, collapse };
    Kind kind = Kind::none;
    FolderItem folder = {};
};

/// Collapses the open folder if it is expanded, else leads to its parent if that has a row.
FolderTreeStep stepLeft(const FolderTreeSource& source, const FolderRows& rows,
                        const std::optional<FolderItem>& selected);
/// Expands the open folder, or leads to its first child that shows.
FolderTreeStep stepRight(const FolderTreeSource& source, const std::optional<FolderItem>& selected);

/// Whether a click on a row toggles it as well as opening it: it promises children, or it stands
/// expanded and turned out to have none.
bool clickToggles(bool hasChildren, bool allowsExpansion, bool isExpanded);

}  // namespace halvenor
