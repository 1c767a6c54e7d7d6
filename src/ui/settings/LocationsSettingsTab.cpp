#include "ui/settings/LocationsSettingsTab.h"

#include <QHBoxLayout>

#include "state/AppState.h"
#include "ui/controls/IconButton.h"
#include "ui/controls/Spinner.h"
#include "ui/controls/SymbolView.h"
#include "ui/controls/TextButton.h"
#include "ui/controls/TextLabel.h"
#include "ui/settings/SettingsRow.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

const QString explanation = QStringLiteral(
    "Favorites and folder marks follow moves within your Locations. Unavailable files keep their "
    "links. Use Relocate to restore links after moving to another disk. Removing a Location clears "
    "its folder marks; playlist links are kept.");

QWidget* makeExplanation() {
    auto* box = new QWidget;
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(10);
    row->addWidget(new SymbolView(QStringLiteral("exclamationmark.triangle.fill"), 13,
                                  &HalvenorTheme::warningText),
                   0, Qt::AlignTop);
    auto* text = new TextLabel(explanation, HalvenorTheme::font(11), &HalvenorTheme::secondaryText);
    text->setWordWrap(true);
    row->addWidget(text, 1);
    return box;
}

QWidget* makeProgress() {
    auto* box = new QWidget;
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    const QString label = QStringLiteral("Checking folder contents…");
    auto* sign = new Spinner(14, box);
    sign->setAccessibleName(label);
    row->addWidget(sign);
    row->addWidget(new TextLabel(label, HalvenorTheme::font(12), &HalvenorTheme::secondaryText), 1);
    return box;
}

}  // namespace

LocationsSettingsTab::LocationsSettingsTab(AppState& state)
    : state_(state), progress_(makeProgress()) {
    add(makeExplanation());
    addSpace(4);
    auto* addLocation = new TextButton(QStringLiteral("Add Location"), this);
    addLocation->setSymbol(QStringLiteral("plus.circle.fill"));
    connect(addLocation, &QAbstractButton::clicked, this, [this] { state_.openFolderPicker(); });
    column().addWidget(addLocation, 0, Qt::AlignLeft);
    add(progress_);
    const auto changed = [this](const auto&) { scheduleRefresh(); };
    subscriptions_.push_back(state_.libraryFolders.subscribe(changed));
    subscriptions_.push_back(state_.availableLocationPaths.subscribe(changed));
    subscriptions_.push_back(state_.finishedRelocationChecks.subscribe(changed));
    subscriptions_.push_back(state_.isRelocating.subscribe(changed));
    refresh();
}

// A row's button may be what changes the list: it must not be gone while it is clicked.
void LocationsSettingsTab::scheduleRefresh() {
    if (!isRefreshScheduled_) {
        isRefreshScheduled_ = true;
        QMetaObject::invokeMethod(
            this, [this] { refresh(); }, Qt::QueuedConnection);
    }
}

void LocationsSettingsTab::refresh() {
    isRefreshScheduled_ = false;
    progress_->setVisible(*state_.isRelocating);
    delete rows_;
    rows_ = new QWidget;
    auto* rows = new QVBoxLayout(rows_);
    rows->setContentsMargins(0, 8, 0, 0);
    rows->setSpacing(8);
    addMissingFolders(*rows);
    addLocations(*rows);
    rows->addStretch(1);
    column().addWidget(rows_, 1);
}

void LocationsSettingsTab::addMissingFolders(QVBoxLayout& rows) {
    const std::vector<FileUrl> missing = state_.missingRelocationFolders();
    if (missing.empty()) {
        return;
    }
    rows.addWidget(makeSectionHeader(QStringLiteral("Unavailable Folders")));
    for (const FileUrl& url : missing) {
        auto* row = new SettingsRow(QStringLiteral("folder"), displayText(url.path()));
        auto* relocate = new TextButton(QStringLiteral("Relocate…"), row);
        relocate->setAccessibleDescription(displayText(url.path()));
        connect(relocate, &QAbstractButton::clicked, this,
                [this, url] { state_.relocateFolder(url); });
        row->addControl(relocate);
        rows.addWidget(row);
    }
    rows.addSpacing(8);
}

void LocationsSettingsTab::addLocations(QVBoxLayout& rows) {
    const std::vector<FileUrl>& folders = *state_.libraryFolders;
    rows.addWidget(makeSectionHeader(QStringLiteral("Scanned Folders (%1)").arg(folders.size())));
    if (folders.empty()) {
        auto* hint = new TextLabel(
            QStringLiteral("No media folders added yet. Click 'Add Location' to pick a folder."),
            HalvenorTheme::font(12), &HalvenorTheme::secondaryText);
        hint->setWordWrap(true);
        rows.addWidget(hint);
    }
    for (const FileUrl& url : folders) {
        const QString path = displayText(url.path());
        auto* row = new SettingsRow(QStringLiteral("folder.fill"), path);
        if (!state_.availableLocationPaths->contains(url.standardized().path())) {
            row->setRemark(QStringLiteral("Unavailable — links retained"));
        }
        const auto addButton = [&](const char* symbol, const char* help, auto action) {
            auto* button =
                new IconButton(QString::fromLatin1(symbol), 13, QString::fromUtf8(help), row);
            button->setAccessibleDescription(path);
            connect(button, &QAbstractButton::clicked, this, action);
            row->addControl(button);
        };
        addButton("folder.badge.questionmark", "Choose New Location…",
                  [this, url] { state_.relocateFolder(url); });
        addButton("xmark.circle.fill", "Remove Location",
                  [this, url] { state_.removeFolder(url); });
        rows.addWidget(row);
    }
}

}  // namespace halvenor
