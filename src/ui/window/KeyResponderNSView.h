#pragma once

#include <memory>

#include <QPointer>
#include <QWidget>

#include "platform/desktop/MainQueue.h"

namespace ambrel {

class AppState;
class AudioEngine;

/// An invisible view without size that holds the window's keyboard focus whenever no control does,
/// and turns Space into start and pause.
///
/// A control that has the focus keeps Space for itself. When it gives the focus up, is disabled,
/// hidden or deleted, the focus comes here and goes to no other control. Stands before all controls
/// in the window's tab order, so that Tab leads from here to the first. Main thread only.
class KeyResponderNSView : public QWidget {
    Q_OBJECT

  public:
    /// `mainQueue` outlives the view.
    KeyResponderNSView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                       MainQueue& mainQueue, QWidget* parent);

  protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void focusChanged(QWidget* old, QWidget* now);
    void takeFocusFrom(QWidget* holder);

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    MainQueue& mainQueue_;
    QPointer<QWidget> holder_; ///< which widget of this window had the focus last
};

} // namespace ambrel
