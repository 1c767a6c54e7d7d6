#include "ui/tageditor/TagEditorView.h"

#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

#include "ui/controls/TextLabel.h"
#include "ui/symbols/Symbols.h"
#include "ui/tageditor/ArtworkView.h"
#include "ui/tageditor/CoverSearchButton.h"
#include "ui/tageditor/EditorRows.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr QSize cardSize(460, 590);
constexpr int padding = 24;
constexpr int coverSide = 145;
constexpr int rowGap = 12;

QString titleFor(qsizetype count) {
    return count > 1 ? QStringLiteral("Batch Edit (%1 Tracks)").arg(count)
                     : QStringLiteral("Track Information");
}

// What stands in the place of the fields when there is nothing to edit.
class NothingToEdit : public QWidget {
  public:
    explicit NothingToEdit(QWidget* parent) : QWidget(parent) {
        auto* column = new QVBoxLayout(this);
        auto* text = new TextLabel(QStringLiteral("Select a track to view details"),
                                   HalvenorTheme::font(13), &HalvenorTheme::secondaryText);
        text->setLines(1);
        text->setAlignment(Qt::AlignHCenter);
        column->addStretch();
        column->addSpacing(symbolRoom);
        column->addWidget(text);
        column->addStretch();
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        Symbols::draw(painter, QStringLiteral("info.circle"), 34,
                      QRectF(rect()).center() - QPointF(0, 12), HalvenorTheme::inactiveText());
    }

  private:
    static constexpr int symbolRoom = 56;
};

QVBoxLayout* plainColumn(QWidget* widget) {
    auto* column = new QVBoxLayout(widget);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(rowGap);
    return column;
}

}  // namespace

TagEditorView::TagEditorView(QWidget* window, AppState& state, DiscogsService& discogs)
    : TagEditorView(window, std::make_unique<TrackTagEditor>(state, discogs)) {}

TagEditorView::TagEditorView(QWidget* window, std::unique_ptr<TrackTagEditor> editor)
    : EditorSheet(window, {titleFor(editor->editingTracks().size()), QStringLiteral("Close"),
                           cardSize, padding}),
      editor_(std::move(editor)) {
    const qsizetype count = editor_->editingTracks().size();
    QWidget* content = count == 0   ? new NothingToEdit(&body())
                       : count == 1 ? makeSingleTrackEditor()
                                    : makeBatchEditor();
    plainColumn(&body())->addWidget(content);
    followEditor();
    present();
}

QWidget* TagEditorView::makeField(const QString& title, DraftText& draft) {
    auto* row =
        new EditableDetailRow(title, draft.text, multiplePrompt(draft.wasMultiple), &body());
    row->onEdited = [&draft](const QString& text) { draft.text = text; };
    return row;
}

QWidget* TagEditorView::makeSingleTrackEditor() {
    const Track& track = editor_->editingTracks().first();
    auto* content = new QWidget(&body());
    auto* column = plainColumn(content);
    auto* fields = new QVBoxLayout;
    fields->setSpacing(rowGap);
    auto* title = new EditableDetailRow(QStringLiteral("Title"), editor_->title, {}, &body());
    title->onEdited = [this](const QString& text) { editor_->title = text; };
    fields->addWidget(title);
    fields->addWidget(makeField(QStringLiteral("Artist"), editor_->artist));
    fields->addWidget(makeField(QStringLiteral("Album"), editor_->album));
    fields->addStretch();
    auto* upper = new QHBoxLayout;
    upper->setSpacing(padding);
    upper->addWidget(makeCoverColumn());
    upper->addLayout(fields, 1);
    column->addLayout(upper);
    column->addSpacing(rowGap);
    const auto detail = [&](const QString& caption, const QString& value, Qt::TextElideMode mode) {
        column->addWidget(new DetailRow(caption, value, mode, &body()));
    };
    detail(QStringLiteral("Location"), displayText(track.url().path()), Qt::ElideMiddle);
    detail(QStringLiteral("Format"), track.format(), Qt::ElideRight);
    detail(QStringLiteral("Duration"), track.formattedDuration(), Qt::ElideRight);
    detail(QStringLiteral("File Size"), track.formattedFileSize(), Qt::ElideRight);
    column->addStretch();
    return content;
}

QWidget* TagEditorView::makeCoverColumn() {
    auto* side = new QWidget(&body());
    auto* column = plainColumn(side);
    auto* cover = new ArtworkView(coverSide, 34, side);
    auto* search = new CoverSearchButton(
        editor_->isSearchingCover(), [this] { editor_->fetchDiscogsCover(); }, side);
    search->setFixedSize(search->sizeHint());
    column->addWidget(cover, 0, Qt::AlignLeading);
    column->addWidget(search, 0, Qt::AlignLeading);
    column->addStretch();
    side->setFixedWidth(std::max(coverSide, search->width()));
    const auto show = [cover](const auto& bytes) { cover->setData(bytes); };
    subscriptions_.push_back(editor_->selectedArtworkData.subscribe(show));
    show(*editor_->selectedArtworkData);
    return side;
}

QWidget* TagEditorView::makeBatchEditor() {
    auto* content = new QWidget(&body());
    auto* column = plainColumn(content);
    auto* note = new TextLabel({}, HalvenorTheme::font(12), &HalvenorTheme::secondaryText);
    note->setText(
        QStringLiteral("Fields below apply to all %1 selected tracks. Track titles are preserved.")
            .arg(editor_->editingTracks().size()));
    const double room = cardSize.width() - 2 * padding;
    note->setLines(QFontMetricsF(note->font()).horizontalAdvance(note->text()) > room ? 2 : 1);
    column->addWidget(note);
    column->addWidget(makeField(QStringLiteral("Artist"), editor_->artist));
    column->addWidget(makeField(QStringLiteral("Album"), editor_->album));
    column->addWidget(makeField(QStringLiteral("Album Artist"), editor_->albumArtist));
    column->addStretch();
    return content;
}

void TagEditorView::followEditor() {
    const auto message = [this](const auto& error) { setMessage(error, TrackTagEditor::note()); };
    const auto saving = [this](bool isSaving) {
        setSaving(isSaving, !editor_->editingTracks().isEmpty());
    };
    subscriptions_.push_back(editor_->errorMessage.subscribe(message));
    subscriptions_.push_back(editor_->isSaving.subscribe(saving));
    editor_->onDismiss = [this] { finish(); };
    message(*editor_->errorMessage);
    saving(false);
}

}  // namespace halvenor
