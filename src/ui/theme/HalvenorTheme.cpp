#include "ui/theme/HalvenorTheme.h"

#include <QGuiApplication>
#include <QScreen>
#include <QStringList>

namespace halvenor {

namespace {

// A colour in fractions of the sRGB range, as the palette is written.
struct Shade {
    float red, green, blue, opacity;

    operator QColor() const { return QColor::fromRgbF(red, green, blue, opacity); }
};

constexpr Shade rgb(float red, float green, float blue, float opacity = 1.0F) {
    return {red, green, blue, opacity};
}

constexpr Shade grey(float value, float opacity = 1.0F) {
    return {value, value, value, opacity};
}

constexpr Shade white = grey(1);
constexpr Shade black = grey(0);

// One colour of the palette, in each theme.
struct Shades {
    Shade halvenorDark;
    Shade systemDark;
    Shade systemLight;

    QColor active() const {
        switch (HalvenorTheme::active) {
            case AppTheme::systemDark:
                return systemDark;
            case AppTheme::systemLight:
                return systemLight;
            case AppTheme::halvenorDark:
                break;
        }
        return halvenorDark;
    }
};

constexpr Shade systemBlue = rgb(0.216F, 0.318F, 0.529F);
constexpr Shade waveBlue = rgb(0.376F, 0.557F, 0.922F);

constexpr Shades mainShades = {rgb(0.055F, 0.063F, 0.067F), rgb(0.149F, 0.157F, 0.165F),
                               rgb(0.929F, 0.929F, 0.933F)};
constexpr Shades sidebarShades = {grey(0.02F), rgb(0.094F, 0.102F, 0.106F), grey(0.898F)};
constexpr Shades inspectorShades = {rgb(0.039F, 0.043F, 0.043F), rgb(0.114F, 0.122F, 0.129F),
                                    grey(0.961F)};

}  // namespace

QFont HalvenorTheme::font(double size, QFont::Weight weight) {
    static const QStringList families = {QStringLiteral("Helvetica Neue"),
                                         QStringLiteral("Liberation Sans"),
                                         QStringLiteral("sans-serif")};
    QFont font;
    font.setFamilies(families);
    // Pixel sizes are whole numbers in QFont, and 9.6 is wanted; so in points of this screen.
    const QScreen* screen = QGuiApplication::primaryScreen();
    const double dotsPerInch = screen != nullptr ? screen->logicalDotsPerInchY() : 96;
    font.setPointSizeF(size * 72 / dotsPerInch);
    font.setWeight(weight);
    return font;
}

QColor HalvenorTheme::mainBackground() {
    return mainShades.active();
}

QColor HalvenorTheme::sidebarBackground() {
    return sidebarShades.active();
}

QColor HalvenorTheme::inspectorBackground() {
    return inspectorShades.active();
}

QColor HalvenorTheme::selectionBackground() {
    return Shades{rgb(0.106F, 0.118F, 0.122F), rgb(0.149F, 0.157F, 0.165F), grey(0.863F)}.active();
}

QColor HalvenorTheme::dividerColor() {
    return Shades{grey(0.047F), grey(0.047F), grey(0.898F)}.active();
}

QColor HalvenorTheme::activeText() {
    return Shades{white, white, systemBlue}.active();
}

QColor HalvenorTheme::highlightText() {
    return Shades{white, white, black}.active();
}

QColor HalvenorTheme::inactiveText() {
    return Shades{grey(0.573F, 0.55F), grey(1, 0.4F), grey(0.573F, 0.55F)}.active();
}

QColor HalvenorTheme::waveformPlayed() {
    return Shades{waveBlue, waveBlue, systemBlue}.active();
}

QColor HalvenorTheme::waveformUnplayed() {
    return Shades{grey(0.137F), rgb(0.196F, 0.204F, 0.212F), grey(0.573F)}.active();
}

QColor HalvenorTheme::itemHoverBackground() {
    return Shades{grey(1, 0.03F), rgb(0.125F, 0.133F, 0.141F), grey(1, 0.03F)}.active();
}

QColor HalvenorTheme::mainText() {
    return Shades{grey(0.573F), grey(0.573F), black}.active();
}

QColor HalvenorTheme::buttonColor() {
    return mainText();
}

QColor HalvenorTheme::buttonActive() {
    return Shades{white, white, systemBlue}.active();
}

QColor HalvenorTheme::windowSidebarSurface() {
    return Shades{grey(0.02F), rgb(0.094F, 0.102F, 0.106F, 0.45F), grey(0.898F)}.active();
}

QColor HalvenorTheme::windowToolbarSurface() {
    return Shades{grey(0.02F), rgb(0.094F, 0.102F, 0.106F, 0.18F), grey(0.898F)}.active();
}

QColor HalvenorTheme::windowTracklistSurface() {
    return Shades{rgb(0.039F, 0.043F, 0.043F), rgb(0.114F, 0.122F, 0.129F, 0.58F), grey(0.961F)}
        .active();
}

QColor HalvenorTheme::windowAlbumHeaderSurface() {
    return Shades{rgb(0.039F, 0.043F, 0.043F), grey(0, 0), grey(0.961F)}.active();
}

QColor HalvenorTheme::windowPlaybarSurface() {
    return Shades{rgb(0.055F, 0.063F, 0.067F), rgb(0.149F, 0.157F, 0.165F, 0.54F),
                  rgb(0.929F, 0.929F, 0.933F)}
        .active();
}

QColor HalvenorTheme::windowBackdrop() {
    return mainShades.active();
}

QColor HalvenorTheme::pane(const QColor& surface, const QColor& beneath) {
    if (surface.alpha() == 0) {
        return beneath;
    }
    QColor solid = surface;
    solid.setAlpha(255);
    return solid;
}

QColor HalvenorTheme::blend(const QColor& top, const QColor& bottom) {
    const float opacity = top.alphaF();
    const auto mix = [opacity](float over, float under) {
        return over * opacity + under * (1 - opacity);
    };
    return QColor::fromRgbF(mix(top.redF(), bottom.redF()), mix(top.greenF(), bottom.greenF()),
                            mix(top.blueF(), bottom.blueF()));
}

QColor HalvenorTheme::neutralTint() {
    return isLight() ? black : grey(0.573F);
}

QColor HalvenorTheme::hoverTint() {
    return isLight() ? black : white;
}

QColor HalvenorTheme::folderTint() {
    return isLight() ? black : waveBlue;
}

QColor HalvenorTheme::cardSurface() {
    return blend(isLight() ? grey(1, 0.75F) : grey(1, 0.047F), windowBackdrop());
}

QColor HalvenorTheme::rowHover() {
    return isLight() ? QColor(grey(0, 0.04F)) : itemHoverBackground();
}

QColor HalvenorTheme::hairline() {
    return isLight() ? grey(0, 0.1F) : grey(1, 0.07F);
}

QColor HalvenorTheme::titleText() {
    return Shades{grey(0.82F), grey(0.84F), grey(0.09F)}.active();
}

QColor HalvenorTheme::secondaryText() {
    return Shades{grey(0.573F), grey(0.62F), grey(0.36F)}.active();
}

QColor HalvenorTheme::warningText() {
    return isLight() ? rgb(0.60F, 0.37F, 0.02F) : rgb(0.92F, 0.70F, 0.36F);
}

QColor HalvenorTheme::focusRing() {
    QColor ring = waveformPlayed();
    ring.setAlphaF(0.85F);
    return ring;
}

}  // namespace halvenor
