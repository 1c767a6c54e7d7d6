#pragma once

#include <QLabel>

namespace halvenor {

/// The name of a key, drawn as one.
class Keycap : public QLabel {
  public:
    explicit Keycap(const QString& key);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace halvenor
