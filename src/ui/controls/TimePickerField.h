#pragma once

#include <cstdint>
#include <functional>

#include <QWidget>

namespace ambrel {

class NumberField;
class SymbolButton;

/// A whole number within bounds, with buttons above and below that add and subtract one. Shown with
/// leading zeros: two digits if the upper bound has two, otherwise three.
class TimePickerField : public QWidget {
    Q_OBJECT

  public:
    struct Value {
        std::function<std::int64_t()> get;
        std::function<void(std::int64_t)> set;
        std::int64_t lowest = 0;
        std::int64_t highest = 999;
        /// Called after every change made here, and after every commit.
        std::function<void()> committed;
    };

    TimePickerField(const QString& accessibleName, Value value, QWidget* parent = nullptr);

    /// Shows the current value, unless something is being typed.
    void refresh();

  private:
    NumberField* makeField(const QString& accessibleName);
    SymbolButton* makeStepButton(const QString& name, int direction);
    QString valueText() const;
    void set(double number);
    bool commit(const QString& text);
    void step(int direction);

    Value value_;
    NumberField* field_;
};

} // namespace ambrel
