#pragma once

#include <QList>
#include <QUrl>
#include <QWidget>

class QScrollArea;

namespace ambrel {

class PushButton;

/// The recent files in a column that scrolls if the window is too low, and below it the button that
/// clears the list.
class RecentFilesBox : public QWidget {
    Q_OBJECT

  public:
    explicit RecentFilesBox(QWidget* parent = nullptr);

    /// Hidden if the list is empty.
    void setFiles(const QList<QUrl>& files);

  Q_SIGNALS:
    void fileChosen(const QUrl& file);
    void clearRequested();

  private:
    void fillRows();

    QList<QUrl> files_;
    QScrollArea* scroller_;
    PushButton* clear_;
};

} // namespace ambrel
