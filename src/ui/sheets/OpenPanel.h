#pragma once

#include <QFileDialog>
#include <QUrl>

namespace ambrel {

/// The desktop's file dialog, for one audio file.
class OpenPanel : public QFileDialog {
    Q_OBJECT

  public:
    explicit OpenPanel(QWidget* parent);

  Q_SIGNALS:
    void fileChosen(const QUrl& url);
};

} // namespace ambrel
