#pragma once

#include <functional>

#include "ui/controls/ControlPanel.h"

namespace ambrel {

class NumberField;

/// A field between a button that steps down and one that steps up; both repeat while held.
class StepperRow : public ControlRow {
    Q_OBJECT

  public:
    /// `step` is called with -1 or 1.
    StepperRow(const QString& downName, NumberField* field, const QString& upName,
               const std::function<void(int direction)>& step, QWidget* parent = nullptr);
};

} // namespace ambrel
