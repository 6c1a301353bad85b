#pragma once

#include <QComboBox>

class QMenu;

namespace ambrel {

/// A list of choices that drops down. It takes the focus by Tab alone, and the wheel passes over it
/// while it has none: whoever scrolls past must not change a setting. Screen readers are given its
/// name and, as its value, the choice: Qt's own gives them the choice as its name. What drops down
/// is a menu: in Qt's own list a screen reader selects an item without choosing it.
class Picker : public QComboBox {
    Q_OBJECT

  public:
    explicit Picker(const QString& accessibleName, QWidget* parent = nullptr);

    QMenu* menu() const { return menu_; }

    void showPopup() override;
    void hidePopup() override;

  protected:
    void wheelEvent(QWheelEvent* event) override;

  private:
    void fillMenu();

    QMenu* menu_;
};

} // namespace ambrel
