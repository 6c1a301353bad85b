#pragma once

#include <QAbstractButton>
#include <QUrl>

namespace ambrel {

/// A file opened before, as a borderless row that is clickable all over: a note and the file's
/// name. Tooltip and accessible description name the folder, which tells files of one name apart.
/// Return opens it as Space does.
class RecentFileRow : public QAbstractButton {
    Q_OBJECT

  public:
    /// All but the first have a divider above them.
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

/// Rows one below the other, a list for screen readers too. Tab leads to the row that had the focus
/// last, the arrow keys to the others.
class RecentFileList : public QWidget {
    Q_OBJECT

  public:
    explicit RecentFileList(const QList<QUrl>& files, QWidget* parent = nullptr);

    /// Tab leads from here to `next`, which is in the same window.
    void putBefore(QWidget& next);

  Q_SIGNALS:
    void fileChosen(const QUrl& file);
    void rowFocused(QWidget* row);

  private:
    void leadTabTo(const QObject* row);
};

} // namespace ambrel
