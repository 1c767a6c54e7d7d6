#include "ui/settings/SettingsView.h"

#include <QButtonGroup>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>

#include "state/AppState.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/ExclusiveButton.h"
#include "ui/controls/IconButton.h"
#include "ui/settings/AboutSettingsTab.h"
#include "ui/settings/GeneralSettingsTab.h"
#include "ui/settings/HelpSettingsTab.h"
#include "ui/settings/HotkeysSettingsTab.h"
#include "ui/settings/LocationsSettingsTab.h"
#include "ui/settings/TabButton.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr QSize cardSize(640, 584);
constexpr int padding = 24;
constexpr int headerHeight = 64;
constexpr int tabsHeight = 56;
constexpr int tabGap = 8;
}  // namespace

SettingsView::SettingsView(AppState& state, QWidget* window)
    : Overlay(window),
      state_(state),
      close_(
          new IconButton(QStringLiteral("xmark.circle.fill"), 15, QStringLiteral("Close"), this)) {
    setAccessibleName(QStringLiteral("Settings"));
    connect(close_, &QAbstractButton::clicked, this, [this] { dismiss(); });
    auto* group = new QButtonGroup(this);
    for (const SettingsTab tab : allSettingsTabs) {
        auto* button = new TabButton(iconName(tab), rawValue(tab), this);
        group->addButton(button);
        connect(button, &QAbstractButton::clicked, this, [this, tab] { selectTab(tab); });
        tabs_[tab] = button;
    }
    selectTab(SettingsTab::general);
}

void SettingsView::setPresented(bool isPresented) {
    if (isPresented == isVisibleTo(parentWidget())) {
        return;
    }
    if (isPresented) {
        open(tabs_.at(selectedTab_));
    } else {
        close();
    }
}

void SettingsView::dismiss() {
    state_.isSettingsPresented = false;
}

void SettingsView::selectTab(SettingsTab tab) {
    selectedTab_ = tab;
    if (!pages_.contains(tab)) {
        auto* page = new QScrollArea(this);
        page->setFrameShape(QFrame::NoFrame);
        page->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        page->setWidgetResizable(true);
        page->setFocusPolicy(Qt::NoFocus);
        page->viewport()->setAutoFillBackground(false);
        page->setWidget(makePage(tab));
        page->widget()->setAutoFillBackground(false);
        pages_[tab] = page;
    }
    for (const auto& [each, page] : pages_) {
        page->setVisible(each == tab);
    }
    for (const auto& [each, button] : tabs_) {
        setChosen(*button, each == tab);
    }
    layOutCard();
}

QWidget* SettingsView::makePage(SettingsTab tab) {
    switch (tab) {
        case SettingsTab::locations:
            return new LocationsSettingsTab(state_);
        case SettingsTab::hotkeys:
            return new HotkeysSettingsTab;
        case SettingsTab::help:
            return new HelpSettingsTab;
        case SettingsTab::about:
            return new AboutSettingsTab;
        case SettingsTab::general:
            break;
    }
    return new GeneralSettingsTab(state_);
}

QRect SettingsView::cardRect() const {
    return centred(cardSize);
}

void SettingsView::layOutCard() {
    const QRect card = cardRect();
    const auto place = [&](QWidget* widget, const QRect& where) {
        widget->setGeometry(QStyle::visualRect(layoutDirection(), card, where));
    };
    const QSize close = close_->sizeHint();
    place(close_, {QPoint(card.right() - padding + 8 - close.width(),
                          card.top() + (headerHeight - close.height()) / 2),
                   close});
    const auto count = static_cast<int>(allSettingsTabs.size());
    const int width = (card.width() - 2 * padding - (count - 1) * tabGap) / count;
    int left = card.left() + padding;
    for (const SettingsTab tab : allSettingsTabs) {
        place(tabs_.at(tab), {left, card.top() + headerHeight, width, tabsHeight});
        left += width + tabGap;
    }
    const int top = card.top() + headerHeight + tabsHeight + 8;
    for (const auto& [tab, page] : pages_) {
        page->setGeometry(card.left() + 1, top, card.width() - 2, card.bottom() - top - 8);
    }
}

void SettingsView::paintCard(QPainter& painter) {
    const QRect card = cardRect();
    const QRect title(card.left() + padding, card.top(), card.width() - 2 * padding - 40,
                      headerHeight);
    drawElided(painter, QRectF(QStyle::visualRect(layoutDirection(), card, title)),
               HalvenorTheme::font(20, QFont::Bold), HalvenorTheme::highlightText(),
               QStringLiteral("Settings"));
}

}  // namespace halvenor
