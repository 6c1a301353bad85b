#pragma once

#include <functional>

#include <QList>
#include <QUrl>
#include <QWidget>

class QDropEvent;

namespace ambrel {

/// Takes the files and web addresses that are dropped anywhere on a window; while they are over it,
/// a frame shows that it will. It belongs to the window.
class DropTarget : public QWidget {
    Q_OBJECT

  public:
    /// Nothing can be dropped unless `isReady`.
    DropTarget(QWidget* window, std::function<bool()> isReady);

  Q_SIGNALS:
    /// What was dropped, local or not; never empty.
    void dropped(const QList<QUrl>& urls);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    bool answer(QDropEvent& drag);

    std::function<bool()> isReady_;
    bool isOurs_ = false; ///< of the drag that is over the window
};

} // namespace ambrel
