#include "ui/controls/PasteGuard.h"

#include <optional>

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>

#include "platform/desktop/ClipboardOwner.h"

namespace ambrel {
namespace {

/// What a field would fetch for that event.
std::optional<QClipboard::Mode> fetched(const QEvent& event) {
    switch (event.type()) {
    case QEvent::KeyPress:
        if (static_cast<const QKeyEvent&>(event).matches(QKeySequence::Paste))
            return QClipboard::Clipboard;
        return {};
    case QEvent::ContextMenu: // offers to paste only what is there
        return QClipboard::Clipboard;
    case QEvent::MouseButtonRelease:
        if (static_cast<const QMouseEvent&>(event).button() == Qt::MiddleButton)
            return QClipboard::Selection;
        return {};
    default:
        return {};
    }
}

} // namespace

PasteGuard::PasteGuard() {
    qApp->installEventFilter(this);
}

bool PasteGuard::eventFilter(QObject* watched, QEvent* event) {
    const auto mode = fetched(*event);
    return mode && qobject_cast<QLineEdit*>(watched) && !clipboardOwnerAnswers(*mode);
}

} // namespace ambrel
