#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "ui/controls/ControlPanel.h"

namespace ambrel {

class NumberEdit;
class RadioGroup;

/// One limit of the waveform cache: presets and, while "Custom" (the last) is chosen, a field for a
/// whole number. A preset is applied at once, the field's text on Return; that stays as typed,
/// valid or not.
class LimitControl : public ControlPanel {
    Q_OBJECT

  public:
    struct Preset {
        QString label;
        std::optional<double> limit; ///< in the field's unit; absent for no limit
    };

    struct Limit {
        QString title;
        QString group; ///< accessible name of the presets
        QList<Preset> presets;
        QString field; ///< accessible name
        QString placeholder;
        QString unit;             ///< shown after the field
        std::int64_t highest = 0; ///< highest number accepted; the lowest is 1
        /// Reads and stores the limit in that unit.
        std::function<std::optional<double>()> get;
        std::function<void(std::optional<double>)> set;
    };

    /// Shows the limit as it is now.
    explicit LimitControl(Limit limit, QWidget* parent = nullptr);

  private:
    RadioGroup* makePresets() const;
    NumberEdit* makeCustomField();
    QWidget* makeCustomRow();
    bool isCustomChosen() const;
    void showLimit();
    void showCustomRow();
    void choose(int place);
    void submitCustom();

    Limit limit_;
    RadioGroup* presets_;
    NumberEdit* custom_;
    QWidget* customRow_;
};

} // namespace ambrel
