#pragma once

#include <memory>

#include <QHash>
#include <QTimer>
#include <QWidget>

#include "app/AppState.h"

namespace ambrel {

/// Tells screen readers what has changed: what plays, speed, pitch, region, loop, and which file
/// has been opened, whether by a shortcut, a button, the menu or a number field. Nothing is told of
/// what the control that has the focus tells by itself. Of a row of changes, as by a held key, only
/// the last is told; what changes while another window is active is told when this one is again.
///
/// A message is the name of a notification that is shown in a status bar: Qt 6.4 has no event for
/// announcements. Nothing of it is seen. Main thread only.
class Announcer : public QWidget {
    Q_OBJECT

  public:
    explicit Announcer(std::shared_ptr<AppState> state, QWidget* parent);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    using Field = AppState::Field;

    void note(Field field);
    void announce();
    QString textOf(Field field) const;

    std::shared_ptr<AppState> state_;
    bool isLoaded_ = false;
    QHash<Field, QString> told_;
    QList<Field> news_;
    QTimer rest_; ///< until nothing more changes
};

} // namespace ambrel
