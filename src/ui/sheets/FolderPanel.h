#pragma once

#include <QFileDialog>
#include <QUrl>

namespace ambrel {

/// The desktop's own dialog for choosing one folder.
class FolderPanel : public QFileDialog {
    Q_OBJECT

  public:
    /// Starts in `folder`, or in the nearest above it that exists.
    explicit FolderPanel(const QUrl& folder, QWidget* parent);

  Q_SIGNALS:
    void folderChosen(const QUrl& folder);
};

} // namespace ambrel
