#pragma once

#include <QWidget>

#include <functional>

namespace halvenor {

/// What a slider is to the keyboard and to assistive technology: a value in a range, changed by
/// steps or set. How it looks, and what the pointer does, is for those that derive from it.
///
/// The value belongs to somebody else: the user's wish goes out through onValueWished.
class ValueControl : public QWidget {
  public:
    ValueControl(const QString& accessibleName, QWidget* parent);

    /// May be absent.
    std::function<void(double)> onValueWished;
    /// What assistive technology reads out for the value, a time say. May be absent.
    std::function<QString(double)> describeValue;

    double value() const { return value_; }
    double lower() const { return lower_; }
    double upper() const { return upper_; }
    /// The arrow keys' step, in units of the range.
    void setStep(double step) { step_ = step; }
    /// Wishes for another value, as keys and assistive technology do.
    void wish(double value);

  protected:
    /// Both change what is told, and repaint nothing.
    void holdRange(double lower, double upper);
    void holdValue(double value) { value_ = value; }

    void keyPressEvent(QKeyEvent* event) override;

  private:
    double lower_ = 0;
    double upper_ = 1;
    double value_ = 0;
    double step_ = 0.05;
};

}  // namespace halvenor
