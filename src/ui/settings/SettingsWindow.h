#pragma once

#include <QWidget>

namespace ambrel {

/// A window of its own, as large as its content and never of another size, that Escape and Ctrl+W
/// close. It deletes itself then. It never keeps the application running.
class SettingsWindow : public QWidget {
    Q_OBJECT

  public:
    /// Takes the content.
    explicit SettingsWindow(QWidget* content);

  protected:
    void showEvent(QShowEvent* event) override;
};

} // namespace ambrel
