#pragma once

#include <QPointer>
#include <QUrl>

#include "ui/controls/ControlPanel.h"
#include "ui/look/Theme.h"

namespace ambrel {

class DownloadSettingsStore;
class FolderPanel;
class PushButton;
class TextLabel;

/// The download folder on one line, with "~" for the home, and the button that changes it, which is
/// stored at once. A path that is too long shows its end, and all of it in the tooltip.
class DownloadFolderRow : public ControlRow {
    Q_OBJECT

  public:
    /// `settings` must outlive the row; `alignment` is the path's, horizontally.
    DownloadFolderRow(DownloadSettingsStore& settings, Theme::TextStyle style,
                      Qt::Alignment alignment, QWidget* parent = nullptr);

    const QUrl& folder() const { return folder_; }
    void resetFolder();
    void setChangeEnabled(bool enabled);

  private:
    void chooseFolder();
    void showFolder();

    DownloadSettingsStore& settings_;
    QUrl folder_;
    TextLabel* label_;
    PushButton* change_;
    QPointer<FolderPanel> panel_;
};

} // namespace ambrel
