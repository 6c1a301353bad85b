#pragma once

#include <QDialog>

class QScrollArea;

namespace ambrel {

/// A short user guide. Scrolls by wheel, keys and touch; "Done" and Escape close it.
class HelpSheet : public QDialog {
    Q_OBJECT

  public:
    explicit HelpSheet(QWidget* parent = nullptr);
    ~HelpSheet() override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QWidget* makeContent();

    /// Scrolls for a key; false if it is not a scrolling key.
    bool scroll(int key);

    QScrollArea* scroller_;
};

} // namespace ambrel
