#pragma once

#include <QMenu>

namespace ambrel {

/// A menu that shows its items' tooltips, and gives their status tips to screen readers as
/// descriptions (Qt's menus give names only). They are told of it when it opens. It closes when a
/// screen reader presses an item, as after a click.
class DescribedMenu : public QMenu {
    Q_OBJECT

  public:
    explicit DescribedMenu(const QString& title, QWidget* parent = nullptr);
};

} // namespace ambrel
