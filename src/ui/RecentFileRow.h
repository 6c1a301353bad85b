#pragma once

#include <QAbstractButton>
#include <QUrl>

namespace ambrel {

/// A file opened before, as a borderless row that is clickable all over: a note and the file's
/// name. Tooltip and accessible description name the folder, which tells files of one name apart.
class RecentFileRow : public QAbstractButton {
    Q_OBJECT

  public:
    explicit RecentFileRow(const QUrl& file, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace ambrel
