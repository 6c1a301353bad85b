#pragma once

#include "ui/controls/PushButton.h"

class QMenu;

namespace ambrel {

/// A button that opens a menu below it. Screen readers find the menu's items under the button:
/// Qt's own buttons keep theirs to themselves.
class MenuButton : public PushButton {
    Q_OBJECT

  public:
    /// Takes the menu as its own.
    MenuButton(const QString& text, QMenu* menu, QWidget* parent = nullptr);
};

} // namespace ambrel
