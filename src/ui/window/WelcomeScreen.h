#pragma once

#include <memory>

#include <QWidget>

#include "app/AppState.h"

namespace ambrel {

/// The screen shown while no file is open.
class WelcomeScreen : public QWidget {
    Q_OBJECT

  public:
    explicit WelcomeScreen(const std::shared_ptr<AppState>& state, QWidget* parent = nullptr);

  Q_SIGNALS:
    void openFileRequested();
    void openFromURLRequested();
    void recentFileChosen(const QUrl& file);
    void clearRecentsRequested();
};

} // namespace ambrel
