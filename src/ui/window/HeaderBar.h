#pragma once

#include <memory>

#include <QWidget>

#include "app/AppState.h"

namespace ambrel {

class ControlRow;
class NotificationCenter;
class PushButton;
class RecentFilesStore;
class Spinner;
class TextLabel;

/// The bar at the top of the window: the file commands, and the name of the open file or the
/// progress of loading. Choices in its recent files menu are posted as notifications.
class HeaderBar : public QWidget {
    Q_OBJECT

  public:
    /// Store and notifications must outlive the bar. `takesDonations` adds the donation button.
    HeaderBar(std::shared_ptr<AppState> state, const RecentFilesStore& recentFiles,
              NotificationCenter& notifications, bool takesDonations, QWidget* parent = nullptr);

  Q_SIGNALS:
    void openFileRequested();
    void openFromURLRequested();
    void settingsRequested();
    void helpRequested();
    void donationRequested();
    void recentFilesWanted(); ///< the menu is about to open

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void applyTheme();
    void addIconButtons(ControlRow& row, bool takesDonations);
    void showState();

    std::shared_ptr<AppState> state_;
    QWidget* commands_;
    QWidget* rest_; ///< the status and the icons
    PushButton* openFile_;
    PushButton* openFromURL_;
    PushButton* recent_;
    Spinner* spinner_;
    TextLabel* message_;
    TextLabel* fileName_;
};

} // namespace ambrel
