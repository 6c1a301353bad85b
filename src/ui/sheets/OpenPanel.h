#pragma once

#include <QFileDialog>
#include <QUrl>

namespace ambrel {

/// The desktop's own file dialog, for one file with sound.
class OpenPanel : public QFileDialog {
    Q_OBJECT

  public:
    explicit OpenPanel(QWidget* parent);

  Q_SIGNALS:
    void fileChosen(const QUrl& url);
};

} // namespace ambrel
