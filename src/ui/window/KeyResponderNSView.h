#pragma once

#include <memory>

#include <QPointer>
#include <QWidget>

#include "platform/desktop/MainQueue.h"

namespace ambrel {

class AppState;
class AudioEngine;

/// An invisible, empty view that has the window's keyboard focus whenever no control does, and
/// turns Space into start and pause.
///
/// A focused control keeps Space for itself. When it gives up the focus, or is disabled, hidden or
/// deleted, the focus comes here and not to another control. First in the window's tab order, so
/// that Tab leads to the first control. Main thread only.
class KeyResponderNSView : public QWidget {
    Q_OBJECT

  public:
    /// `mainQueue` must outlive the view.
    KeyResponderNSView(std::shared_ptr<AppState> state, std::shared_ptr<AudioEngine> engine,
                       MainQueue& mainQueue, QWidget* parent);

  protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void focusChanged(QWidget* old, QWidget* now);
    void takeFocus();
    void takeFocusFrom(QWidget* holder);

    std::shared_ptr<AppState> state_;
    std::shared_ptr<AudioEngine> engine_;
    MainQueue& mainQueue_;
    QPointer<QWidget> holder_; ///< the widget of this window that had the focus last
};

} // namespace ambrel
