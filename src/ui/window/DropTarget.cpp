#include "ui/window/DropTarget.h"

#include <utility>

#include <QDropEvent>
#include <QMimeData>
#include <QPainter>

#include "download/sheet/OpenFromURLSheet.h"
#include "ui/look/Theme.h"

namespace ambrel {
namespace {

constexpr double kFrameWidth = 4; // points

/// They are examined one by one, until one is audio.
constexpr qsizetype kMostURLs = 100;

QList<QUrl> urlsIn(const QMimeData& data) {
    if (data.hasUrls())
        return data.urls().mid(0, kMostURLs);
    const QString address = OpenFromURLSheet::webAddressIn(data.text());
    return address.isEmpty() ? QList<QUrl>() : QList<QUrl>{QUrl(address)};
}

} // namespace

DropTarget::DropTarget(QWidget* window, std::function<bool()> isReady)
    : QWidget(window), isReady_(std::move(isReady)) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
    window->setAcceptDrops(true);
    window->installEventFilter(this);
}

bool DropTarget::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove: {
        auto& drag = static_cast<QDragMoveEvent&>(*event);
        if (event->type() == QEvent::DragEnter)
            isOurs_ = !urlsIn(*drag.mimeData()).isEmpty();
        const bool isConsumed = answer(drag);
        setGeometry(parentWidget()->rect());
        setVisible(isConsumed && drag.isAccepted());
        raise();
        return isConsumed;
    }
    case QEvent::DragLeave:
        hide();
        return isOurs_;
    case QEvent::Drop: {
        hide();
        auto& drop = static_cast<QDropEvent&>(*event);
        const bool isConsumed = answer(drop);
        const auto urls = urlsIn(*drop.mimeData());
        if (isConsumed && drop.isAccepted() && !urls.isEmpty()) {
            window()->activateWindow();
            Q_EMIT dropped(urls);
        }
        return isConsumed;
    }
    default:
        return QWidget::eventFilter(watched, event);
    }
}

/// Accepts or ignores it; false for what is none of ours.
bool DropTarget::answer(QDropEvent& drag) {
    const auto action = drag.possibleActions() & Qt::CopyAction ? Qt::CopyAction : Qt::LinkAction;
    const bool isReady = isReady_();
    if (isReady && !isOurs_)
        return false;
    drag.setDropAction(action);
    drag.setAccepted(isReady && (drag.possibleActions() & action));
    return true;
}

void DropTarget::paintEvent(QPaintEvent*) {
    const QColor accent = Theme::accent(palette());
    QColor tint = accent;
    tint.setAlphaF(0.12F);
    QPainter painter(this);
    painter.fillRect(rect(), tint);
    const int width = Theme::length(kFrameWidth);
    painter.setPen(QPen(accent, width, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.drawRect(rect().adjusted(width / 2, width / 2, -(width + 1) / 2, -(width + 1) / 2));
}

} // namespace ambrel
