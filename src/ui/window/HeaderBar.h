#pragma once

#include <memory>

#include <QWidget>

#include "app/AppState.h"

class QBoxLayout;

namespace ambrel {

class ControlRow;
class NotificationCenter;
class PushButton;
class RecentFilesStore;
class Spinner;
class TextLabel;

/// The bar at the top of the window: the file commands, and the name of the open file or how far
/// its loading has come. What its menu of recent files chooses is posted.
class HeaderBar : public QWidget {
    Q_OBJECT

  public:
    /// Store and notifications outlive the bar. The button for a donation is there only with
    /// `takesDonations`.
    HeaderBar(std::shared_ptr<AppState> state, const RecentFilesStore& recentFiles,
              NotificationCenter& notifications, bool takesDonations, QWidget* parent = nullptr);

  Q_SIGNALS:
    void openFileRequested();
    void openFromURLRequested();
    void settingsRequested();
    void helpRequested();
    void donationRequested();
    void recentFilesWanted(); ///< the menu is about to show them

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void applyTheme();
    void addIconButtons(ControlRow& row, bool takesDonations);
    void showState();

    std::shared_ptr<AppState> state_;
    QBoxLayout* place_;
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
