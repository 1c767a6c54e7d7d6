#pragma once

#include <QPointer>
#include <QTimer>

#include "base/Published.h"
#include "ui/controls/PaddedListView.h"
#include "ui/sidebar/FolderMenu.h"
#include "ui/sidebar/FolderTreeModel.h"

namespace halvenor {

class AppState;

/// The folder tree. All it shows is AppState's; it sends the user's actions back.
///
/// What changes is gathered: the rows are made anew at most once in a turn of the event loop.
class FolderTreeView : public PaddedListView {
  public:
    FolderTreeView(AppState& state, QWidget* parent);

    FolderTreeModel& treeModel() { return *model_; }

    void paintRow(QPainter& painter, const QRect& rect, int row) const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void rowClicked(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) override;
    void rowDoubleClicked(int row, const QPoint& place, Qt::KeyboardModifiers modifiers) override;
    void pointerMoved(int row, const QPoint& place) override;

  private:
    enum class HotPart { none, icon, refresh };

    void subscribe();
    void scheduleRebuild();
    void rebuild();
    void scrollToRequest();
    void moveSelection(int by);
    void take(const FolderTreeStep& step);
    void openAndShow(const FolderItem& folder);
    void showFolder(const QByteArray& id);
    void showMenu(const FolderRow& row, const QPoint& globalPlace);
    int selectedRow() const;
    FolderFilter filter() const;
    FolderTreeSource source(const FolderFilter& filter) const;
    bool hasChildren(const FolderRow& row) const;
    bool isAway(const FolderRow& row) const;
    QString describe(const FolderRow& row) const;
    void paintIcon(QPainter& painter, const QRect& rect, const FolderItem& folder,
                   bool isHot) const;

    AppState& state_;
    FolderTreeModel* model_;
    FolderAdditions additions_;
    bool isRebuildScheduled_ = false;
    HotPart hotPart_ = HotPart::none;
    QTimer spinning_;
    QTimer searchDelay_;  // runs while a search for what was typed can't have ended
    mutable bool hasPaintedSpinner_ = false;
    Subscriptions subscriptions_;
};

}  // namespace halvenor
