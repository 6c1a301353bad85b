#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

class QDialog;

namespace ambrel {

/// Blocks input to a window while a dialog is open over it; an attempt brings the dialog to the
/// front. Qt's modality would also keep the window from being closed, and closing it must quit the
/// application at any moment.
///
/// Owned by the dialog, and active while that is open.
class SheetBlocker : public QObject {
    Q_OBJECT

  public:
    /// Shows `sheet` over `window` as soon as that is on the screen. The sheet deletes itself when
    /// closed.
    static void present(QDialog* sheet, QWidget* window);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    SheetBlocker(QDialog* sheet, QWidget* window);

    QDialog* sheet_;
    QPointer<QWidget> window_;
};

} // namespace ambrel
