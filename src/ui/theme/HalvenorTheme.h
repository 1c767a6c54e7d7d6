#pragma once

#include <QColor>
#include <QFont>

#include "state/AppTheme.h"

namespace halvenor {

/// The palette, metrics and font of the program. Every view takes its colours from here, and every
/// accessor answers for the one active theme. Main thread.
///
/// `active` tells nobody when it changes: views repaint because AppState::selectedTheme changes.
/// It is set by the follower that installTheme makes, before any view hears of the change.
class HalvenorTheme {
  public:
    HalvenorTheme() = delete;

    static inline AppTheme active = AppTheme::halvenorDark;

    // Heights, in device-independent pixels.
    static constexpr double titleBarHeight = 35;
    static constexpr double explorerToolbarHeight = 50;
    static constexpr double albumHeaderHeight = 200;
    static constexpr double playbarHeight = 80;

    /// The program's face at a fixed size, in device-independent pixels.
    static QFont font(double size, QFont::Weight weight = QFont::Normal);

    static bool isLight() { return active == AppTheme::systemLight; }

    static QColor mainBackground();
    static QColor sidebarBackground();
    static QColor inspectorBackground();
    static QColor selectionBackground();
    static QColor dividerColor();
    static QColor activeText();
    static QColor highlightText();
    static QColor inactiveText();
    static QColor waveformPlayed();
    static QColor waveformUnplayed();
    static QColor itemHoverBackground();
    static QColor mainText();
    static QColor buttonColor();
    static QColor buttonActive();
    static QColor windowSidebarSurface();
    static QColor windowToolbarSurface();
    static QColor windowTracklistSurface();
    static QColor windowAlbumHeaderSurface();
    static QColor windowPlaybarSurface();

    static QColor currentTrack() { return activeText(); }
    static QColor accent() { return waveformPlayed(); }
    static QColor tracklistBackground() { return inspectorBackground(); }
    static QColor playbarBackground() { return mainBackground(); }
    static QColor toolbarBackground() { return sidebarBackground(); }

    /// What stands behind every pane. Opaque: no desktop here gives a window a material to show.
    static QColor windowBackdrop();
    /// A surface as it is painted: opaque. Its opacity is for windows with a material behind them;
    /// here a translucent surface is a solid one, and a clear one shows the pane `beneath`.
    static QColor pane(const QColor& surface, const QColor& beneath = windowBackdrop());
    /// `top`, with its opacity, over an opaque `bottom`.
    static QColor blend(const QColor& top, const QColor& bottom);

    /// Symbols and times of the player bar that are not lit.
    static QColor neutralTint();
    /// A control under the pointer: white on dark, black on light.
    static QColor hoverTint();
    /// The folder icons of the sidebar.
    static QColor folderTint();
    /// The card of a sheet. Opaque.
    static QColor cardSurface();
    /// A row under the pointer. On light, where a breath of white can't be seen, one of black.
    static QColor rowHover();
    /// Fine lines and borders on a pane: the text colour, faint.
    static QColor hairline();
    /// A title that nothing marks: between the running text and the lit one.
    static QColor titleText();
    /// Second lines and captions that must stay readable.
    static QColor secondaryText();
    /// What the user should see to: a device or a folder that is gone.
    static QColor warningText();
    /// The ring around a control that has the keyboard focus.
    static QColor focusRing();
};

}  // namespace halvenor
