#pragma once

#include <gtest/gtest.h>
#include <memory>

#include "playlists/PlaylistManager.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {

inline Track trackAt(const QByteArray& path) {
    TrackFields fields;
    fields.url = FileUrl(path);
    return Track(fields);
}

/// A manager of playlists with a file in a folder of its own.
class PlaylistFixture : public testing::Test {
  protected:
    PlaylistManager& manager() {
        if (!manager_) {
            manager_ = std::make_unique<PlaylistManager>(storage());
        }
        return *manager_;
    }
    /// Ends the manager, saved, and begins another on the same file.
    PlaylistManager& restart() {
        manager_.reset();
        return manager();
    }

    FileUrl storage() const { return directory_.at("data/playlists.json"); }
    const TemporaryFolder& directory() const { return directory_; }

  private:
    TemporaryFolder directory_;
    std::unique_ptr<PlaylistManager> manager_;
};

}  // namespace halvenor::test
