#pragma once

#include <QList>
#include <QUrl>
#include <QWidget>

class QBoxLayout;
class QScrollArea;

namespace ambrel {

class QuietButton;

/// The files opened last, one below the other, and under them the button that forgets them. Where
/// the window is too low for all of them they scroll.
class RecentFilesBox : public QWidget {
    Q_OBJECT

  public:
    explicit RecentFilesBox(QWidget* parent = nullptr);

    /// Hidden while there are none.
    void setFiles(const QList<QUrl>& files);

  Q_SIGNALS:
    void fileChosen(const QUrl& file);
    void clearRequested();

  private:
    void applyTheme();

    void fillRows();

    QList<QUrl> files_;
    QBoxLayout* column_;
    QBoxLayout* panelColumn_;
    QScrollArea* scroller_;
    QuietButton* clear_;
};

} // namespace ambrel
