#include "ui/shell/StatusItem.h"

#include "state/AppState.h"
#include "ui/symbols/SymbolIcon.h"
#include "ui/symbols/Symbols.h"

namespace halvenor {

namespace {

// Panels are dark on nearly every desktop, whatever the windows are. A theme that has a symbolic
// icon of this name tints it itself.
QIcon makeNote() {
    QIcon drawn;
    for (const int side : {16, 22, 24, 32, 48}) {
        drawn.addPixmap(
            Symbols::pixmap(QStringLiteral("music.note"), side, 1, QColor(222, 222, 222)));
    }
    return QIcon::fromTheme(QStringLiteral("halvenor-symbolic"), drawn);
}

}  // namespace

StatusMenu::StatusMenu(AppState& state) : state_(state) {
    AudioEngineManager& engine = state_.audioEngine();
    playPause_ = addAction(QString(), [&engine] { engine.togglePlayPause(); });
    like_ = addAction(QString(), [this] {
        if (const auto track = *state_.audioEngine().currentTrack) {
            state_.toggleFavorite(*track);
        }
    });
    mute_ = addAction(QString(), [&engine] { engine.toggleMute(); });
    addSeparator();
    addAction(symbolIcon(QStringLiteral("macwindow.on.rectangle"), *this), QStringLiteral("Show"),
              [this] {
                  if (state_.onShowMainWindow) {
                      state_.onShowMainWindow();
                  }
              });
    addAction(symbolIcon(QStringLiteral("xmark.circle"), *this), QStringLiteral("Quit"), [this] {
        if (state_.onTerminate) {
            state_.onTerminate();
        }
    });
    const auto changed = [this](const auto&) { refresh(); };
    subscriptions_.push_back(engine.isPlaying.subscribe(changed));
    subscriptions_.push_back(engine.currentTrack.subscribe(changed));
    subscriptions_.push_back(engine.isMuted.subscribe(changed));
    subscriptions_.push_back(state_.favoriteTrackPaths.subscribe(changed));
    subscriptions_.push_back(state_.selectedTheme.subscribe(changed));
    refresh();
}

void StatusMenu::refresh() {
    const AudioEngineManager& engine = state_.audioEngine();
    const auto& track = *engine.currentTrack;
    const auto show = [this](QAction& entry, const char* text, const char* symbol) {
        entry.setText(QString::fromLatin1(text));
        entry.setIcon(symbolIcon(QString::fromLatin1(symbol), *this));
    };
    const bool isPlaying = *engine.isPlaying;
    show(*playPause_, isPlaying ? "Pause" : "Play", isPlaying ? "pause.circle" : "play.circle");
    playPause_->setEnabled(track.has_value());
    const bool isFavorite = track && state_.isFavorite(*track);
    show(*like_, isFavorite ? "Unlike" : "Like", isFavorite ? "heart.fill" : "heart");
    like_->setEnabled(track.has_value());
    const bool isMuted = *engine.isMuted;
    show(*mute_, isMuted ? "Unmute" : "Mute", isMuted ? "speaker.slash" : "speaker.wave.2");
}

StatusItem::StatusItem(AppState& state) : menu_(state), icon_(makeNote()) {
    icon_.setToolTip(QStringLiteral("Halvenor"));
    icon_.setContextMenu(&menu_);
    QObject::connect(&icon_, &QSystemTrayIcon::activated, &menu_,
                     [&state](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger && state.onShowMainWindow) {
                             state.onShowMainWindow();
                         }
                     });
    icon_.show();
}

}  // namespace halvenor
