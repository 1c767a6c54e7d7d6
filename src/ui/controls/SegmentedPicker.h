#pragma once

#include <QStringList>
#include <QWidget>

#include <functional>
#include <vector>

class QAbstractButton;

namespace halvenor {

/// A choice of one among few: segments side by side on a plate.
class SegmentedPicker : public QWidget {
  public:
    SegmentedPicker(const QString& accessibleName, const QStringList& names, QWidget* parent);

    /// The user has chosen the segment of this index.
    std::function<void(int)> onChosen;

    void setSelected(int index);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    std::vector<QAbstractButton*> segments_;
};

}  // namespace halvenor
