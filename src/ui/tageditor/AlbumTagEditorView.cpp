#include "ui/tageditor/AlbumTagEditorView.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMimeData>
#include <QPointer>
#include <QVBoxLayout>

#include "ui/controls/TextButton.h"
#include "ui/controls/TextLabel.h"
#include "ui/sheets/FileDialogs.h"
#include "ui/tageditor/CoverSearchButton.h"
#include "ui/tageditor/DropZone.h"
#include "ui/tageditor/EditorRows.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr QSize cardSize(720, 590);
constexpr int padding = 28;
constexpr int columnGap = 32;
constexpr int rowGap = 16;
constexpr int buttonGap = 8;
constexpr int buttonHeight = 32;
constexpr int yearWidth = 90;

QVBoxLayout* plainColumn(QWidget* widget, int spacing) {
    auto* column = new QVBoxLayout(widget);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing);
    return column;
}

void widen(QWidget& button) {
    button.setFixedHeight(buttonHeight);
    button.setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

}  // namespace

AlbumTagEditorView::AlbumTagEditorView(QWidget* window, AppState& state, const QList<Track>& tracks,
                                       DiscogsService& discogs)
    : EditorSheet(window, {QStringLiteral("Album Tag Editor"), QStringLiteral("Cancel"), cardSize,
                           padding}),
      editor_(state, tracks, discogs) {
    auto* columns = new QHBoxLayout(&body());
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(columnGap);
    columns->addWidget(makeFields(), 1);
    columns->addWidget(makeCoverColumn(), 1);
    followEditor();
    present();
}

QWidget* AlbumTagEditorView::editorField(const QString& title, DraftText& draft) {
    auto* row =
        new EditableDetailRow(title, draft.text, multiplePrompt(draft.wasMultiple), &body());
    row->onEdited = [&draft](const QString& text) { draft.text = text; };
    return row;
}

QWidget* AlbumTagEditorView::makeFields() {
    auto* fields = new QWidget(&body());
    auto* column = plainColumn(fields, rowGap);
    column->addWidget(editorField(QStringLiteral("Album"), editor_.album));
    column->addWidget(editorField(QStringLiteral("Artist"), editor_.artist));
    column->addWidget(editorField(QStringLiteral("Album Artist"), editor_.albumArtist));
    auto* year = new EditableDetailRow(QStringLiteral("Year"), editor_.year,
                                       multiplePrompt(editor_.yearWasMultiple()), &body());
    year->setFixedWidth(yearWidth);
    year->onEdited = [this](const QString& text) { editor_.year = text; };
    column->addWidget(year);
    column->addStretch();
    return fields;
}

QWidget* AlbumTagEditorView::makeCoverColumn() {
    auto* side = new QWidget(&body());
    auto* column = plainColumn(side, 0);
    auto* caption = new TextLabel(QStringLiteral("Cover"), HalvenorTheme::font(12),
                                  &HalvenorTheme::secondaryText);
    caption->setLines(1);
    auto* zone = new DropZone(side);
    zone->onDrop = [this](const FileUrl& url) { editor_.loadArtwork(url); };
    const auto show = [this, zone](const auto&) {
        zone->setArtwork(*editor_.selectedArtworkData, *editor_.selectedArtworkFileName);
    };
    subscriptions_.push_back(editor_.selectedArtworkData.subscribe(show));
    subscriptions_.push_back(
        editor_.isImportingArtwork.subscribe([zone](bool isOn) { zone->setImporting(isOn); }));
    show(*editor_.selectedArtworkData);

    auto* search = new CoverSearchButton(
        editor_.isSearchingCover(), [this] { editor_.fetchDiscogsCover(); }, side);
    auto* browse = new TextButton(QStringLiteral("Browse"), side);
    browse->setSymbol(QStringLiteral("square.and.arrow.up"));
    connect(browse, &QAbstractButton::clicked, this, [this] { browseForArtwork(); });
    auto* paste = new TextButton(QStringLiteral("Paste"), side);
    connect(paste, &QAbstractButton::clicked, this, [this] { pasteArtworkFromClipboard(); });
    auto* pair = new QHBoxLayout;
    pair->setSpacing(buttonGap);
    for (TextButton* button : {static_cast<TextButton*>(search), browse, paste}) {
        widen(*button);
    }
    pair->addWidget(browse);
    pair->addWidget(paste);
    column->addWidget(caption);
    column->addSpacing(EditableDetailRow::captionGap);
    column->addWidget(zone, 1);
    column->addSpacing(buttonGap);
    column->addWidget(search);
    column->addSpacing(buttonGap);
    column->addLayout(pair);
    return side;
}

void AlbumTagEditorView::browseForArtwork() {
    FileQuestion question;
    question.kind = FileQuestion::Kind::existingFile;
    question.title = QStringLiteral("Choose a Cover");
    question.nameFilter =
        QStringLiteral("Images (*.png *.jpg *.jpeg *.webp *.tif *.tiff *.gif *.bmp)");
    askForFile(window(), question, [view = QPointer(this)](const std::optional<FileUrl>& url) {
        if (view && url) {
            view->editor_.loadArtwork(*url);
        }
    });
}

void AlbumTagEditorView::pasteArtworkFromClipboard() {
    const QMimeData* clipboard = QGuiApplication::clipboard()->mimeData();
    const QMimeData none;
    editor_.pasteArtwork(clipboard != nullptr ? *clipboard : none);
}

void AlbumTagEditorView::followEditor() {
    const QString note = editor_.note();
    const auto message = [this, note](const auto& error) { setMessage(error, note); };
    const auto saving = [this](bool isSaving) { setSaving(isSaving, true); };
    subscriptions_.push_back(editor_.errorMessage.subscribe(message));
    subscriptions_.push_back(editor_.isSaving.subscribe(saving));
    editor_.onDismiss = [this] { finish(); };
    message(*editor_.errorMessage);
    saving(false);
}

}  // namespace halvenor
