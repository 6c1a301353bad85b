#pragma once

#include "ui/controls/ControlPanel.h"

namespace ambrel {

class NumberEdit;
class RadioGroup;

/// One limit of the waveform cache: presets and, while "custom" (the last) is chosen, a field for a
/// whole number. Its text is applied on Return and stays as typed, valid or not.
class LimitControl : public ControlPanel {
    Q_OBJECT

  public:
    struct Texts {
        QString title;
        QString group; ///< accessible name of the presets
        QStringList presets;
        QString field; ///< accessible name
        QString placeholder;
        QString unit;       ///< shown after the field
        double highest = 0; ///< highest value accepted; the lowest is 1
    };

    explicit LimitControl(const Texts& texts, QWidget* parent = nullptr);

    /// Emits nothing.
    void setPreset(int place);

    QString custom() const;
    void setCustom(const QString& text);
    void selectCustom();

  Q_SIGNALS:
    void presetChosen(int place); ///< by the user
    void customSubmitted();

  private:
    void applyTheme();
    bool isCustomChosen() const;
    void showCustomRow();
    NumberEdit* makeCustomField(const Texts& texts);
    QWidget* makeCustomRow(const Texts& texts);

    RadioGroup* presets_;
    NumberEdit* custom_;
    QWidget* customRow_;
    const int customPlace_;
};

} // namespace ambrel
