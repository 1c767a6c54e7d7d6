#pragma once

#include <QTimer>
#include <QWidget>

#include <functional>
#include <optional>

#include "base/FileUrl.h"

namespace halvenor {

class ArtworkView;
class Spinner;
class TextLabel;

/// Where a cover is shown and a file with another one is dropped.
class DropZone : public QWidget {
  public:
    explicit DropZone(QWidget* parent);

    /// Called with a file that was dropped, whatever it holds.
    std::function<void(const FileUrl&)> onDrop;

    /// @param name of the image's file, shown beside it
    void setArtwork(const std::optional<QByteArray>& bytes, const std::optional<QString>& name);
    /// Shows a sign of work, unless it takes no time.
    void setImporting(bool isImporting);
    /// Whether a file is held over it.
    bool isDropTargeted() const { return isDropTargeted_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void setDropTargeted(bool isTargeted);
    void layOut();

    ArtworkView* artwork_;
    TextLabel* name_;
    Spinner* spinner_;
    QTimer spinnerDelay_;
    bool hasArtwork_ = false;
    bool isDropTargeted_ = false;
};

}  // namespace halvenor
