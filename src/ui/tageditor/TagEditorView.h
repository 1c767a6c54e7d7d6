#pragma once

#include <memory>

#include "editing/TrackTagEditor.h"
#include "ui/tageditor/EditorSheet.h"

namespace halvenor {

/// The sheet that edits the tags of the selected tracks: of one track with its cover and what its
/// file is, of several what they may share. Shown as soon as it is made; it deletes itself.
class TagEditorView : public EditorSheet {
  public:
    /// @param window what it covers, whole
    /// @param discogs outlives the sheet
    TagEditorView(QWidget* window, AppState& state,
                  DiscogsService& discogs = DiscogsService::shared());

  protected:
    void save() override { editor_->save(); }

  private:
    // The title tells how many tracks there are, so these are found out first.
    TagEditorView(QWidget* window, std::unique_ptr<TrackTagEditor> editor);

    QWidget* makeSingleTrackEditor();
    QWidget* makeBatchEditor();
    QWidget* makeCoverColumn();
    QWidget* makeField(const QString& title, DraftText& draft);
    void followEditor();

    std::unique_ptr<TrackTagEditor> editor_;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
