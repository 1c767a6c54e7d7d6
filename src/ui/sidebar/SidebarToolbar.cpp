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
constexpr int groupSpacing = 12;
constexpr double symbolSize = 13;
constexpr int buttonsHeight = static_cast<int>(HalvenorTheme::explorerToolbarHeight);
constexpr int fieldHeight = 28;
constexpr int fieldRoom = fieldHeight + 8;
}  // namespace

SidebarToolbar::SidebarToolbar(AppState& state, QWidget* parent)
    : QWidget(parent),
      state_(state),
      preferences_(
          makeButton(QStringLiteral("slider.horizontal.3"), QStringLiteral("Preferences (F10)"))),
      folders_(makeButton(QStringLiteral("folder.fill"), QStringLiteral("Folders"))),
      playlists_(makeButton(QStringLiteral("list.bullet.rectangle"), QStringLiteral("Playlists"))),
      search_(makeButton(QStringLiteral("magnifyingglass"), QStringLiteral("Search"))),
      filter_(
          makeButton(QStringLiteral("checkmark.circle"), QStringLiteral("Show Checked Folders"))) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    const auto choose = [this](SidebarSection section) {
        if (onSectionChosen) {
            onSectionChosen(section);
        }
    };
    connect(folders_, &QAbstractButton::clicked, this,
            [choose] { choose(SidebarSection::folders); });
    connect(playlists_, &QAbstractButton::clicked, this,
            [choose] { choose(SidebarSection::playlists); });
    connect(search_, &QAbstractButton::clicked, this,
            [this] { setSearchVisible(!isSearchWanted()); });
    connect(filter_, &QAbstractButton::clicked, this,
            [this] { state_.showMarkedFoldersOnly = !*state_.showMarkedFoldersOnly; });
    connect(preferences_, &QAbstractButton::clicked, this,
            [this] { state_.isSettingsPresented = true; });

    subscriptions_.push_back(state_.rootFolders.subscribe([this](const auto&) { refresh(); }));
    subscriptions_.push_back(state_.showMarkedFoldersOnly.subscribe([this](bool) { refresh(); }));
    setTabOrders();
    refresh();
}

IconButton* SidebarToolbar::makeButton(const QString& symbol, const QString& help) {
    auto* button = new IconButton(symbol, symbolSize, help, this);
    button->setPlate(true);
    return button;
}

void SidebarToolbar::makeSearchField() {
    query_ = new QLineEdit(*state_.searchQuery, this);
    query_->setPlaceholderText(QStringLiteral("Search"));
    query_->setAccessibleName(QStringLiteral("Search folders"));
    query_->setFont(HalvenorTheme::font(12));
    query_->setTextMargins(4, 0, 4, 0);
    query_->installEventFilter(this);
    query_->hide();
    setTabOrders();
    connect(query_, &QLineEdit::textEdited, this,
            [this](const QString& text) { state_.searchQuery = text; });
    subscriptions_.push_back(state_.searchQuery.subscribe([this](const QString& text) {
        if (text != query_->text()) {
            query_->setText(text);
        }
    }));
}

void SidebarToolbar::makePlaylistButtons() {
    import_ = makeButton(QStringLiteral("square.and.arrow.down"), QStringLiteral("Import M3U…"));
    create_ = makeButton(QStringLiteral("plus.circle"), QStringLiteral("Add New Playlist"));
    connect(import_, &QAbstractButton::clicked, this, [this] { onImportPlaylist(); });
    connect(create_, &QAbstractButton::clicked, this, [this] { onCreatePlaylist(); });
    setTabOrders();
}

// In the order that they stand in.
void SidebarToolbar::setTabOrders() {
    QWidget* last = preferences_;
    for (QWidget* next : std::initializer_list<QWidget*>{folders_, playlists_, search_, filter_,
                                                         query_, import_, create_}) {
        if (next != nullptr) {
            setTabOrder(last, next);
            last = next;
        }
    }
}

void SidebarToolbar::showSection(SidebarSection section) {
    section_ = section;
    if (section == SidebarSection::playlists && create_ == nullptr) {
        makePlaylistButtons();
    }
    refresh();
    layOut();
    if (onHeightChanged) {
        onHeightChanged();
    }
}

// The section of the playlists puts the field away, and the other one has it again.
bool SidebarToolbar::isSearchWanted() const {
    return search_->isActive();
}

int SidebarToolbar::wantedHeight() const {
    const bool hasField = section_ == SidebarSection::folders && isSearchWanted();
    return buttonsHeight + (hasField ? fieldRoom : 0);
}

void SidebarToolbar::setSearchVisible(bool isVisible) {
    if (query_ == nullptr) {
        makeSearchField();
    }
    search_->setActive(isVisible);
    refresh();
    layOut();
    if (onHeightChanged) {
        onHeightChanged();
    }
    if (isVisible) {
        query_->setFocus(Qt::OtherFocusReason);
        return;
    }
    query_->clear();
    state_.searchQuery = QString();  // Assigning schedules the search that empties the results.
}

void SidebarToolbar::refresh() {
    const bool isFolders = section_ == SidebarSection::folders;
    folders_->setActive(isFolders);
    playlists_->setActive(!isFolders);
    for (IconButton* button : {search_, filter_}) {
        button->setVisible(isFolders);
    }
    for (IconButton* button : {import_, create_}) {
        if (button != nullptr) {
            button->setVisible(!isFolders);
        }
    }
    if (query_ != nullptr) {
        query_->setVisible(isFolders && isSearchWanted());
    }
    const bool hasFolders = !state_.rootFolders->empty();
    const bool isFiltering = *state_.showMarkedFoldersOnly;
    search_->setEnabled(hasFolders);
    filter_->setEnabled(hasFolders);
    filter_->setActive(isFiltering);
    filter_->setHelp(isFiltering ? QStringLiteral("Show All Folders")
                                 : QStringLiteral("Show Checked Folders"));
}

void SidebarToolbar::layOut() {
    const QSize button = search_->sizeHint();
    const int top = (buttonsHeight - button.height()) / 2;
    const auto place = [&](QWidget* widget, const QRect& where) {
        if (widget != nullptr) {
            widget->setGeometry(QStyle::visualRect(layoutDirection(), rect(), where));
        }
    };
    // Glyphs, and not their hit areas, stand in line with what is below.
    const int start = horizontalInset - 6;
    const int end = width() - horizontalInset + 6;
    const int step = button.width() + spacing;
    const int sections = start + step + groupSpacing;
    const int second = sections + 2 * step + groupSpacing;
    const int last = end - button.width();
    place(preferences_, {QPoint(start, top), button});
    place(folders_, {QPoint(sections, top), button});
    place(playlists_, {QPoint(sections + step, top), button});
    place(search_, {QPoint(second, top), button});
    place(filter_, {QPoint(second + step, top), button});
    place(import_, {QPoint(last - step, top), button});
    place(create_, {QPoint(last, top), button});
    place(query_, {horizontalInset, buttonsHeight - 2, width() - 2 * horizontalInset, fieldHeight});
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
