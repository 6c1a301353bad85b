#pragma once

#include <QComboBox>

class QMenu;

namespace ambrel {

/// A drop-down list of choices. It gets the focus by Tab only, and ignores the wheel without it, so
/// that scrolling past never changes a setting. Screen readers get its name, and the choice as its
/// value (Qt gives the choice as the name). It drops down a menu, because in Qt's list a screen
/// reader can select an item but not choose it.
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
