#pragma once

#include "ui/look/RoundedPanel.h"

class QBoxLayout;
class QCheckBox;

namespace ambrel {

class PushButton;

/// The common look of the control panels: a rounded rectangle with a header row of a title, an
/// optional check box that switches the panel on, and an optional "Reset" button on the right.
class ControlPanel : public RoundedPanel {
    Q_OBJECT

  public:
    /// `spacing` between rows, in points of the standard body font.
    ControlPanel(const QString& title, double spacing, QWidget* parent = nullptr);

    /// Adds the check box, off at first. Its state and effect are up to the caller.
    void addSwitch(const QString& accessibleName);
    /// Emits nothing.
    void setSwitchedOn(bool isOn);

    /// Adds the button, disabled at first. Its state and effect are up to the caller.
    void addReset(const QString& accessibleName);
    void setResetEnabled(bool enabled);

    void addRow(QWidget* row);

  Q_SIGNALS:
    void switched(bool on); ///< by the user, also through a screen reader
    void resetRequested();

  private:
    QBoxLayout* column_;
    QBoxLayout* header_;
    QCheckBox* switch_ = nullptr;
    PushButton* reset_ = nullptr;
};

/// A horizontal row of widgets, `spacing` points apart: at their natural sizes and vertically
/// centred or, with a stretch, sharing the available width.
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
