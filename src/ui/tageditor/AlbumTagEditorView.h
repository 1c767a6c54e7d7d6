#pragma once

#include "editing/AlbumTagEditor.h"
#include "ui/tageditor/EditorSheet.h"

namespace halvenor {

/// The sheet that edits what the tracks of an album share, and its cover, which may be found,
/// dropped, pasted or chosen. Shown as soon as it is made; it deletes itself.
class AlbumTagEditorView : public EditorSheet {
  public:
    /// @param window what it covers, whole
    /// @param discogs outlives the sheet
    AlbumTagEditorView(QWidget* window, AppState& state, const QList<Track>& tracks,
                       DiscogsService& discogs = DiscogsService::shared());

  protected:
    void save() override { editor_.save(); }

  private:
    QWidget* makeFields();
    QWidget* makeCoverColumn();
    QWidget* editorField(const QString& title, DraftText& draft);
    void browseForArtwork();
    void pasteArtworkFromClipboard();
    void followEditor();

    AlbumTagEditor editor_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
