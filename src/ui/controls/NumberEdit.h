#pragma once

#include <functional>

#include <QLineEdit>

namespace ambrel {

/// A line edit for a number. Screen readers get the number, its bounds and its step as well as the
/// text.
class NumberEdit : public QLineEdit {
    Q_OBJECT

  public:
    struct Range {
        double lowest;
        double highest;
        double step; ///< 0: none
    };

    struct Number {
        std::function<double()> value;
        /// Has the effect of typing and committing the number.
        std::function<void(double)> set;
        std::function<Range()> range;
    };

    explicit NumberEdit(Number number, QWidget* parent = nullptr);

    double value() const { return number_.value(); }
    Range range() const { return number_.range(); }
    virtual void setValue(double value) { number_.set(value); }

    /// Whether the text is selected only to be typed over. Screen readers are not told of that:
    /// they would say at each step what has been selected, and that a selection has been deleted.
    virtual bool isOffered() const { return false; }

  protected:
    /// Tells screen readers that the value has changed.
    void valueChanged();

  private:
    Number number_;
};

} // namespace ambrel
