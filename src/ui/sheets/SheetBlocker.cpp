#include "ui/sheets/SheetBlocker.h"

#include <QDialog>
#include <QEvent>
#include <QWindow>

namespace ambrel {

void SheetBlocker::present(QDialog* sheet, QWidget* window) {
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setWindowModality(Qt::NonModal);
    new SheetBlocker(sheet, window);
    const QWindow* place = window->windowHandle();
    if (!place || place->isExposed())
        sheet->show();
}

SheetBlocker::SheetBlocker(QDialog* sheet, QWidget* window)
    : QObject(sheet), sheet_(sheet), window_(window) {
    // Widgets get their input through the native window.
    if (window->windowHandle())
        window->windowHandle()->installEventFilter(this);
}

bool SheetBlocker::eventFilter(QObject* watched, QEvent* event) {
    if (!sheet_->isVisible()) { // still to come, or closed and about to be deleted
        if (event->type() == QEvent::Expose &&
            !sheet_->testAttribute(Qt::WA_WState_ExplicitShowHide))
            QMetaObject::invokeMethod(sheet_, &QDialog::show, Qt::QueuedConnection);
        return QObject::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
    case QEvent::KeyPress:
        sheet_->raise();
        sheet_->activateWindow();
        return true;
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Enter:
    case QEvent::Wheel:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::KeyRelease:
    case QEvent::NativeGesture:
    case QEvent::ContextMenu:
        return true;
    default:
        return QObject::eventFilter(watched, event);
    }
}

} // namespace ambrel
