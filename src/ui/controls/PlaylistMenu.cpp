#include "ui/controls/PlaylistMenu.h"

#include <QFontMetrics>
#include <QMenu>

#include "state/AppState.h"

namespace halvenor {

namespace {

// A name as a menu shows it: on one line that ends somewhere, its ampersands no marks of keys.
QString entryText(const QString& name, const QMenu& menu) {
    constexpr int widest = 320;
    return QFontMetrics(menu.font())
        .elidedText(name.simplified(), Qt::ElideRight, widest)
        .replace(QLatin1Char('&'), QStringLiteral("&&"));
}

}  // namespace

void addPlaylistMenu(QMenu& menu, AppState& state,
                     const std::function<void(const QUuid&)>& onChosen) {
    QMenu* submenu = menu.addMenu(QStringLiteral("Add to Playlist"));
    for (const Playlist& playlist : *state.playlistManager().playlists) {
        submenu->addAction(entryText(playlist.name, *submenu),
                           [onChosen, id = playlist.id] { onChosen(id); });
    }
    submenu->setEnabled(!submenu->isEmpty());
}

}  // namespace halvenor
