#pragma once

#include <QFileDialog>
#include <QUrl>

namespace ambrel {

/// The desktop's own dialog for choosing one file or folder of this computer.
class FilePanel : public QFileDialog {
    Q_OBJECT

  public:
    /// Starts in `folder`, or in its nearest parent that exists.
    FilePanel(const QString& title, const QUrl& folder, QWidget* parent);

  Q_SIGNALS:
    void chosen(const QUrl& url);
};

} // namespace ambrel
