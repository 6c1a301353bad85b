#pragma once

#include <QComboBox>

namespace ambrel {

/// A list of choices that drops down. It takes the focus by Tab alone, and the wheel passes over it
/// while it has none: whoever scrolls past must not change a setting. Screen readers are given its
/// name and, as its value, the choice: Qt's own gives them the choice as its name.
class Picker : public QComboBox {
    Q_OBJECT

  public:
    explicit Picker(const QString& accessibleName, QWidget* parent = nullptr);

  protected:
    void wheelEvent(QWheelEvent* event) override;
};

} // namespace ambrel
