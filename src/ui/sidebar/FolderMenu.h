#pragma once

#include <QUuid>

#include <vector>

#include "base/Published.h"
#include "model/FolderItem.h"

class QMenu;

namespace halvenor {

class AppState;

/// Adds folders' own tracks to playlists. Those of a folder that was never listed are not known
/// yet: it is listed first, and waited for unless it is removed.
class FolderAdditions {
  public:
    explicit FolderAdditions(AppState& state) : state_(state) {}

    void add(const FolderItem& folder, const QUuid& playlist);

  private:
    struct Addition {
        FolderItem folder;
        QUuid playlist;
    };

    void finish(const Addition& addition);
    void finishAwaited();

    AppState& state_;
    std::vector<Addition> awaited_;
    Subscriptions subscriptions_;  // while there is something to wait for
};

/// Fills the context menu of a folder's row.
/// @param additions outlives the menu
void fillFolderMenu(QMenu& menu, AppState& state, const FolderItem& folder,
                    FolderAdditions& additions);

}  // namespace halvenor
