#include "ui/sidebar/NoFoldersHint.h"

#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

#include "state/AppState.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/IconButton.h"
#include "ui/controls/PaintedButton.h"
#include "ui/symbols/Symbols.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr QSize browseSize(208, 136);
constexpr int lineHeight = 20;
constexpr int gap = 24;

QFont face() {
    return HalvenorTheme::font(12);
}

QString beforeText() {
    return QStringLiteral("in Preferences menu (");
}

class BrowseButton : public PaintedButton {
  public:
    explicit BrowseButton(QWidget* parent) : PaintedButton(parent) {
        setAccessibleName(QStringLiteral("Drop music folder here or click here to browse"));
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF area(rect());
        QColor border = HalvenorTheme::hoverTint();
        border.setAlphaF(underMouse() ? 0.28F : 0.14F);
        QPen dashes(border, 1.2);
        dashes.setDashPattern({4, 4});
        painter.setPen(dashes);
        painter.drawRoundedRect(area.adjusted(1, 1, -1, -1), 12, 12);
        const QColor ink =
            underMouse() ? HalvenorTheme::hoverTint() : HalvenorTheme::secondaryText();
        Symbols::draw(painter, QStringLiteral("rectangle.and.hand.point.up.left"), 26,
                      QPointF(area.center().x(), 42), ink);
        drawElided(painter, QRectF(0, 76, area.width(), 18), HalvenorTheme::font(12, QFont::Medium),
                   ink, QStringLiteral("Drop music folder here"), Qt::AlignHCenter);
        drawElided(painter, QRectF(0, 96, area.width(), 18), face(), HalvenorTheme::inactiveText(),
                   QStringLiteral("or click here to browse"), Qt::AlignHCenter);
        paintFocusRing(painter, *this, 12);
    }
};

}  // namespace

NoFoldersHint::NoFoldersHint(AppState& state, QWidget* parent)
    : QWidget(parent),
      browse_(new BrowseButton(this)),
      settings_(new IconButton(QStringLiteral("slider.horizontal.3"), 12,
                               QStringLiteral("Manage your music locations in Preferences"),
                               this)) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(browse_, &QAbstractButton::clicked, this, [&state] { state.openFolderPicker(); });
    connect(settings_, &QAbstractButton::clicked, this,
            [&state] { state.isSettingsPresented = true; });
}

// Measures text, so it waits until there is something to show.
void NoFoldersHint::layOut() {
    if (!isVisible()) {
        return;
    }
    const QFontMetrics metrics(face());
    const QSize button = settings_->sizeHint();
    const int before = metrics.horizontalAdvance(beforeText());
    const int after = metrics.horizontalAdvance(QLatin1Char(')'));
    const int content = browseSize.height() + gap + 2 * lineHeight;
    int top = (height() - content) * 2 / 5;
    const auto mirrored = [this](const QRect& where) {
        return QStyle::visualRect(layoutDirection(), rect(), where);
    };
    browse_->setGeometry(QRect(QPoint((width() - browseSize.width()) / 2, top), browseSize));
    top += browseSize.height() + gap;
    manageLine_ = QRect(0, top, width(), lineHeight);
    top += lineHeight;
    int left = (width() - before - button.width() - after) / 2;
    beforeButton_ = mirrored({left, top, before + 1, lineHeight});
    left += before;
    settings_->setGeometry(mirrored(
        {left, top + (lineHeight - button.height()) / 2, button.width(), button.height()}));
    left += button.width();
    afterButton_ = mirrored({left, top, after + 2, lineHeight});
}

void NoFoldersHint::resizeEvent(QResizeEvent*) {
    layOut();
}

void NoFoldersHint::showEvent(QShowEvent*) {
    layOut();
}

void NoFoldersHint::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), HalvenorTheme::pane(HalvenorTheme::windowSidebarSurface()));
    const QColor ink = HalvenorTheme::secondaryText();
    drawElided(painter, manageLine_, face(), ink, QStringLiteral("Manage your music locations"),
               Qt::AlignHCenter);
    drawElided(painter, beforeButton_, face(), ink, beforeText());
    drawElided(painter, afterButton_, face(), ink, QStringLiteral(")"));
}

}  // namespace halvenor
