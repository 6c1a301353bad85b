#pragma once

#include <QFileDialog>
#include <QUrl>

namespace ambrel {

/// The desktop's own dialog for choosing one file or folder of this computer.
class FilePanel : public QFileDialog {
    Q_OBJECT

  public:
    /// Starts in `folder` or its nearest parent that exists; in the home folder if they do not
    /// answer within 0.3 s.
    FilePanel(const QString& title, const QUrl& folder, QWidget* parent);

    void done(int result) override;

  Q_SIGNALS:
    void chosen(const QUrl& url);
};

} // namespace ambrel
