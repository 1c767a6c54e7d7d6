#pragma once

#include <functional>
#include <optional>

#include "base/Published.h"
#include "base/Task.h"
#include "discogs/DiscogsService.h"

namespace halvenor {

/// An editor's search for a cover on Discogs. Starting another, or the end of this, stops the one
/// before, of which nothing is heard any more. Main thread.
class CoverSearch {
  public:
    /// What was found, or nothing.
    using OnEnd = std::function<void(std::optional<QByteArray>)>;

    /// @param service outlives this
    explicit CoverSearch(DiscogsService& service) : service_(service) {}

    /// Calls `onEnd` when the search has ended.
    void start(const QString& artist, const QString& album, OnEnd onEnd);

    Published<bool> isSearching{false};

  private:
    Task<> searchTask(QString artist, QString album, OnEnd onEnd, std::stop_token token);

    DiscogsService& service_;
    TaskSlot task_;
};

/// What an editor says when there is none.
QString noCoverFound();

}  // namespace halvenor
