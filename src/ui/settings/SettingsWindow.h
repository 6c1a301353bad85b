#pragma once

#include <QWidget>

namespace ambrel {

/// A window of fixed size, that of its content. Escape and Ctrl+W close it, and it then deletes
/// itself. It never keeps the application running.
class SettingsWindow : public QWidget {
    Q_OBJECT

  public:
    /// Takes ownership of the content.
    explicit SettingsWindow(QWidget* content);

  protected:
    void showEvent(QShowEvent* event) override;
};

} // namespace ambrel
