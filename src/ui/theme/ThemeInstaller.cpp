#include "ui/theme/ThemeInstaller.h"

#include <QApplication>
#include <QPalette>

#include "state/AppState.h"
#include "ui/theme/ApplicationStyle.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

QPalette makePalette() {
    const QColor window = HalvenorTheme::windowBackdrop();
    const QColor text =
        HalvenorTheme::isLight() ? QColor(Qt::black) : QColor::fromRgbF(0.86F, 0.86F, 0.86F);
    QColor faint = text;
    faint.setAlphaF(0.4F);
    // From the colour of buttons come the shades that the toolkit's own controls are drawn with.
    QPalette palette(HalvenorTheme::blend(HalvenorTheme::hairline(), window), window);
    palette.setColor(QPalette::Base, HalvenorTheme::pane(HalvenorTheme::inspectorBackground()));
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Highlight, HalvenorTheme::accent());
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, HalvenorTheme::accent());
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, faint);
    }
    return palette;
}

// Lives as a child of the state, and so as long as what it follows.
class ThemeFollower : public QObject {
  public:
    explicit ThemeFollower(AppState& state) : QObject(&state) {
        subscription_ = state.selectedTheme.subscribe([this](AppTheme theme) { follow(theme); });
        follow(*state.selectedTheme);
    }

  private:
    void follow(AppTheme theme) {
        if (isFirst_ || theme != HalvenorTheme::active) {
            isFirst_ = false;
            HalvenorTheme::active = theme;
            QApplication::setPalette(makePalette());
        }
    }

    bool isFirst_ = true;
    Subscription subscription_;
};

}  // namespace

void installTheme(AppState& state, QApplication&) {
    QApplication::setStyle(new ApplicationStyle);
    QApplication::setFont(HalvenorTheme::font(12));
    new ThemeFollower(state);
}

}  // namespace halvenor
