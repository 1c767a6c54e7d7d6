#pragma once

#include <QWidget>

#include <functional>

#include "base/Published.h"
#include "model/Artwork.h"

class QMenu;

namespace halvenor {

class IconButton;

/// The cover of the album header, with its menu: on a button that shows under the pointer, and as
/// the context menu.
class CoverView : public QWidget {
  public:
    explicit CoverView(QWidget* parent);

    /// Fills the menu each time it is opened.
    std::function<void(QMenu&)> fillMenu;

    void setArtwork(const Artwork& artwork);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

  private:
    void popUpMenu(const QPoint& globalPlace);

    Artwork artwork_;
    IconButton* menuButton_;
    Subscription coverReady_;
};

}  // namespace halvenor
