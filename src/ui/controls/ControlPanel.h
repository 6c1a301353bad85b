#pragma once

#include "ui/controls/RoundedPanel.h"

class QBoxLayout;
class QCheckBox;

namespace ambrel {

class PushButton;

/// The look that the control panels share: a rounded rectangle with a title on the left of its
/// header row, followed by a check box where the panel can be off and, where it has a default to go
/// back to, "Reset" on the right.
class ControlPanel : public RoundedPanel {
    Q_OBJECT

  public:
    /// `spacing` between the rows, in points of the standard body font.
    ControlPanel(const QString& title, double spacing, QWidget* parent = nullptr);

    /// The check box, for whoever says whether it is on and what it does; off at first.
    void addSwitch(const QString& accessibleName);
    /// Emits nothing.
    void setSwitchedOn(bool isOn);

    /// The button, for whoever says when it is enabled and what it does; disabled at first.
    void addReset(const QString& accessibleName);
    void setResetEnabled(bool enabled);

    void addRow(QWidget* row);

  Q_SIGNALS:
    void switched(bool on); ///< by the user, be it without a click: screen readers toggle
    void resetRequested();

  private:
    void applyTheme();

    double spacing_;
    QBoxLayout* column_;
    QBoxLayout* header_;
    QCheckBox* switch_ = nullptr;
    PushButton* reset_ = nullptr;
};

/// A horizontal row of widgets, `spacing` points apart: at their natural sizes and centred
/// vertically or, with a stretch, sharing what room there is.
class ControlRow : public QWidget {
    Q_OBJECT

  public:
    explicit ControlRow(double spacing, QWidget* parent = nullptr);

    void add(QWidget* widget, int stretch = 0);
    void addStretch();

  private:
    QBoxLayout* row_;
};

} // namespace ambrel
