#pragma once

#include <QDialog>

class QScrollArea;

namespace ambrel {

/// A short user guide. It scrolls by wheel, keys and touch; "Done" and Escape close it.
class HelpSheet : public QDialog {
    Q_OBJECT

  public:
    explicit HelpSheet(QWidget* parent = nullptr);
    ~HelpSheet() override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QWidget* makeContent();

    QScrollArea* scroller_;
};

} // namespace ambrel
