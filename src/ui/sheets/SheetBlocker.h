#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

class QDialog;

namespace ambrel {

/// Keeps input from a window while a dialog stands over it; an attempt brings the dialog to the
/// front. Qt's own modality would do the same but also keep the window from being closed, and
/// closing it must end the application at any moment.
///
/// Owned by the dialog, and in force for as long as that is open.
class SheetBlocker : public QObject {
    Q_OBJECT

  public:
    /// Shows `sheet` over `window`, as soon as that has its place on the screen. The sheet deletes
    /// itself when it is closed.
    static void present(QDialog* sheet, QWidget* window);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    SheetBlocker(QDialog* sheet, QWidget* window);

    QDialog* sheet_;
    QPointer<QWidget> window_;
};

} // namespace ambrel
