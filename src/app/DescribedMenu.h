#pragma once

#include <QMenu>

namespace ambrel {

/// A menu that shows its items' tooltips, and tells their status tips to screen readers as
/// descriptions: Qt's own menus give items a name only. When a screen reader presses an item the
/// menu closes, as it does after a click.
class DescribedMenu : public QMenu {
    Q_OBJECT

  public:
    explicit DescribedMenu(const QString& title, QWidget* parent = nullptr);
};

} // namespace ambrel
