#pragma once

#include <QFileDialog>
#include <QUrl>

namespace ambrel {

/// The desktop's dialog for choosing a folder.
class FolderPanel : public QFileDialog {
    Q_OBJECT

  public:
    /// Starts in `folder`, or in its nearest parent that exists.
    explicit FolderPanel(const QUrl& folder, QWidget* parent);

  Q_SIGNALS:
    void folderChosen(const QUrl& folder);
};

} // namespace ambrel
