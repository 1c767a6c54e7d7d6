#include "ui/sidebar/PlaylistActions.h"

#include <QFileDialog>
#include <QPointer>

#include "base/Error.h"
#include "state/AppState.h"
#include "ui/sheets/ErrorSheet.h"
#include "ui/sheets/FileDialogs.h"
#include "ui/sheets/NameSheet.h"

namespace halvenor {

namespace {

NameSheet::Wording wording(const QString& title, const QString& acceptLabel) {
    return {title, acceptLabel, QStringLiteral("Playlist name")};
}

// A name is any text; a slash would make folders of it.
QString fileName(const Playlist& playlist) {
    QString name = playlist.name;
    return name.replace(QLatin1Char('/'), QLatin1Char('-')) + QStringLiteral(".m3u8");
}

}  // namespace

bool PlaylistActions::isFavorites(const Playlist& playlist) {
    return playlist.name == PlaylistManager::favoritesName;
}

void PlaylistActions::made(const Playlist& playlist) {
    if (onMade) {
        onMade(playlist.id);
    }
}

void PlaylistActions::create() {
    new NameSheet(host_.window(), wording(QStringLiteral("New Playlist"), QStringLiteral("Create")),
                  {}, [this](const QString& typed) {
                      const QString name = typed.trimmed();
                      if (!name.isEmpty()) {
                          made(state_.playlistManager().createPlaylist(name, {}));
                      }
                  });
}

void PlaylistActions::rename(const Playlist& playlist) {
    new NameSheet(host_.window(),
                  wording(QStringLiteral("Rename Playlist"), QStringLiteral("Rename")),
                  playlist.name, [this, id = playlist.id](const QString& name) {
                      state_.playlistManager().rename(id, name);
                  });
}

void PlaylistActions::remove(const Playlist& playlist) {
    state_.deletePlaylist(playlist.id);
}

void PlaylistActions::importM3u() {
    const FileQuestion question{
        .kind = FileQuestion::Kind::existingFile,
        .title = QStringLiteral("Import M3U"),
        .nameFilter = QStringLiteral("M3U playlists (*.m3u *.m3u8 *.M3U *.M3U8);;All files (*)")};
    askForFile(host_.window(), question, [this, host = QPointer(&host_)](const auto& file) {
        if (file && host != nullptr) {
            spawn(importFrom(*file));
        }
    });
}

// The end of the window, while a slow disk is at work, ends all interest in the outcome.
Task<> PlaylistActions::importFrom(FileUrl file) {
    const QPointer host(&host_);
    try {
        auto importing = state_.playlistManager().importM3U(file);
        const Playlist playlist = co_await importing;
        if (host != nullptr) {
            made(playlist);
        }
    } catch (const Cancelled&) {
    } catch (const Error& error) {
        if (host != nullptr) {
            presentError(host->window(), QStringLiteral("Import Failed"), error.text());
        }
    }
}

void PlaylistActions::exportM3u(const Playlist& playlist) {
    const FileQuestion question{.kind = FileQuestion::Kind::newFile,
                                .title = QStringLiteral("Export M3U"),
                                .nameFilter = QStringLiteral("M3U playlists (*.m3u8 *.m3u)"),
                                .suggestedName = fileName(playlist),
                                .suffix = QStringLiteral("m3u8")};
    askForFile(host_.window(), question,
               [this, host = QPointer(&host_), playlist](const auto& file) {
                   if (file && host != nullptr) {
                       spawn(exportTo(*file, playlist));
                   }
               });
}

Task<> PlaylistActions::exportTo(FileUrl file, Playlist playlist) {
    const QPointer host(&host_);
    try {
        auto exporting = state_.playlistManager().exportToM3U(playlist, file);
        co_await exporting;
    } catch (const Cancelled&) {
    } catch (const Error& error) {
        if (host != nullptr) {
            presentError(host->window(), QStringLiteral("Export Failed"), error.text());
        }
    }
}

}  // namespace halvenor
