#include "ui/sidebar/SidebarToolbar.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QStyle>

#include "state/AppState.h"
#include "ui/controls/IconButton.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr int horizontalInset = 20;
constexpr int spacing = 4;
constexpr double symbolSize = 13;
}  // namespace

SidebarToolbar::SidebarToolbar(AppState& state, QWidget* parent)
    : QWidget(parent),
      state_(state),
      search_(new IconButton(QStringLiteral("magnifyingglass"), symbolSize,
                             QStringLiteral("Search"), this)),
      filter_(new IconButton(QStringLiteral("checkmark.circle"), symbolSize,
                             QStringLiteral("Show Checked Folders"), this)),
      add_(new IconButton(QStringLiteral("plus.circle"), symbolSize, QStringLiteral("Add Folder…"),
                          this)) {
    for (IconButton* button : {search_, filter_, add_}) {
        button->setPlate(true);
    }
    setAttribute(Qt::WA_OpaquePaintEvent);
    setTabOrder(search_, filter_);
    setTabOrder(filter_, add_);

    connect(search_, &QAbstractButton::clicked, this,
            [this] { setSearchVisible(!isSearchVisible()); });
    connect(filter_, &QAbstractButton::clicked, this,
            [this] { state_.showMarkedFoldersOnly = !*state_.showMarkedFoldersOnly; });
    connect(add_, &QAbstractButton::clicked, this, [this] {
        if (onAddFolder) {
            onAddFolder();
        }
    });

    subscriptions_.push_back(state_.rootFolders.subscribe([this](const auto&) { refresh(); }));
    subscriptions_.push_back(state_.showMarkedFoldersOnly.subscribe([this](bool) { refresh(); }));
    refresh();
}

void SidebarToolbar::makeSearchField() {
    query_ = new QLineEdit(*state_.searchQuery, this);
    query_->setPlaceholderText(QStringLiteral("Search"));
    query_->setAccessibleName(QStringLiteral("Search folders"));
    query_->setFont(HalvenorTheme::font(12));
    query_->setTextMargins(4, 0, 4, 0);
    query_->installEventFilter(this);
    setTabOrder(search_, query_);
    setTabOrder(query_, filter_);
    connect(query_, &QLineEdit::textEdited, this,
            [this](const QString& text) { state_.searchQuery = text; });
    subscriptions_.push_back(state_.searchQuery.subscribe([this](const QString& text) {
        if (text != query_->text()) {
            query_->setText(text);
        }
    }));
}

bool SidebarToolbar::isSearchVisible() const {
    return query_ != nullptr && !query_->isHidden();
}

void SidebarToolbar::setSearchVisible(bool isVisible) {
    if (query_ == nullptr) {
        makeSearchField();
    }
    query_->setVisible(isVisible);
    search_->setActive(isVisible);
    layOut();
    if (isVisible) {
        query_->setFocus(Qt::OtherFocusReason);
        return;
    }
    query_->clear();
    state_.searchQuery = QString();  // Assigning schedules the search that empties the results.
}

void SidebarToolbar::refresh() {
    const bool hasFolders = !state_.rootFolders->empty();
    const bool isFiltering = *state_.showMarkedFoldersOnly;
    search_->setEnabled(hasFolders);
    filter_->setEnabled(hasFolders);
    filter_->setActive(isFiltering);
    filter_->setHelp(isFiltering ? QStringLiteral("Show All Folders")
                                 : QStringLiteral("Show Checked Folders"));
}

void SidebarToolbar::layOut() {
    const int buttonWidth = search_->sizeHint().width();
    const int buttonHeight = search_->sizeHint().height();
    const int top = (height() - buttonHeight) / 2;
    const int end = width() - horizontalInset + 6;
    const auto place = [&](QWidget* widget, int left, int wide) {
        widget->setGeometry(
            QStyle::visualRect(layoutDirection(), rect(), QRect(left, top, wide, buttonHeight)));
    };
    // Glyphs, and not their hit areas, stand in line with what is below.
    const int start = horizontalInset - 6;
    const int addLeft = end - buttonWidth;
    const int filterLeft = start + buttonWidth + spacing;
    place(search_, start, buttonWidth);
    place(filter_, filterLeft, buttonWidth);
    place(add_, addLeft, buttonWidth);
    if (query_ != nullptr) {
        const int fieldLeft = filterLeft + buttonWidth + 2 * spacing;
        query_->setGeometry(QStyle::visualRect(
            layoutDirection(), rect(),
            QRect(fieldLeft, top + 2, addLeft - 2 * spacing - fieldLeft, buttonHeight - 4)));
    }
}

void SidebarToolbar::resizeEvent(QResizeEvent*) {
    layOut();
}

void SidebarToolbar::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), HalvenorTheme::pane(HalvenorTheme::windowToolbarSurface()));
}

bool SidebarToolbar::eventFilter(QObject* watched, QEvent* event) {
    if (watched == query_ && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        setSearchVisible(false);
        search_->setFocus(Qt::OtherFocusReason);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace halvenor
