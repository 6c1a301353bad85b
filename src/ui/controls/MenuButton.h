#pragma once

#include "ui/controls/PushButton.h"

class QMenu;

namespace ambrel {

/// A button that opens a menu below it. Unlike with Qt's own, screen readers find the menu's items
/// under the button.
class MenuButton : public PushButton {
    Q_OBJECT

  public:
    /// Takes ownership of the menu.
    MenuButton(const QString& text, QMenu* menu, QWidget* parent = nullptr);
};

} // namespace ambrel
