#pragma once

#include <QAbstractButton>
#include <QUrl>

namespace ambrel {

/// A recent file as a borderless row, clickable all over: a note symbol and the file name. Tooltip
/// and accessible description give the folder, to distinguish files of the same name. Return and
/// Space open it.
class RecentFileRow : public QAbstractButton {
    Q_OBJECT

  public:
    /// All rows but the first have a divider above them.
    RecentFileRow(const QUrl& file, bool isFirst, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    QString title_;
    bool isFirst_;
};

/// A list of rows, also for screen readers. Tab leads to the row that last had the focus, the arrow
/// keys to the others.
class RecentFileList : public QWidget {
    Q_OBJECT

  public:
    explicit RecentFileList(const QList<QUrl>& files, QWidget* parent = nullptr);

    /// Puts the list before `next`, in the same window, in the tab order.
    void putBefore(QWidget& next);

  Q_SIGNALS:
    void fileChosen(const QUrl& file);
    void rowFocused(QWidget* row);

  private:
    void leadTabTo(const QObject* row);
};

} // namespace ambrel
