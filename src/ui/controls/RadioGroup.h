#pragma once

#include <QButtonGroup>
#include <QWidget>

namespace ambrel {

/// Radio buttons in a column. Screen readers get them as one named group. Tab leads to the chosen
/// button, the arrow keys to the others.
class RadioGroup : public QWidget {
    Q_OBJECT

  public:
    RadioGroup(const QString& accessibleName, const QStringList& labels, QWidget* parent = nullptr);

    int current() const { return group_.checkedId(); }

    /// Emits nothing.
    void setCurrent(int index);

    /// Whether one of the buttons has the focus.
    bool holdsFocus() const;

  Q_SIGNALS:
    void chosen(int index); ///< by the user, if different

  private:
    QButtonGroup group_;
};

} // namespace ambrel
