#include "ui/window/RecentFileRow.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

#include "ui/controls/ButtonFace.h"
#include "ui/look/AccessibleFactory.h"
#include "ui/look/Divider.h"
#include "ui/look/PlainText.h"
#include "ui/look/Symbols.h"
#include "ui/look/Theme.h"
#include "ui/window/RecentFile.h"

namespace ambrel {
namespace {

class RowInterface : public QAccessibleWidget {
  public:
    explicit RowInterface(RecentFileRow* row) : QAccessibleWidget(row, QAccessible::ListItem) {}

    /// Also a row that Tab does not lead to.
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.focusable = true;
        return state;
    }
    QStringList actionNames() const override { return {pressAction(), setFocusAction()}; }
    void doAction(const QString& name) override {
        if (name == pressAction())
            static_cast<RecentFileRow*>(widget())->click();
        else
            QAccessibleWidget::doAction(name);
    }
};

} // namespace

RecentFileRow::RecentFileRow(const QUrl& file, bool isFirst, QWidget* parent)
    : QAbstractButton(parent), title_(recentFileTitle(file)), isFirst_(isFirst) {
    describeBy<RecentFileRow, RowInterface>();
    setAccessibleName(file.fileName());
    setAccessibleDescription(recentFileFolder(file));
    setToolTip(plainToolTip(recentFileFolder(file)));
    setAttribute(Qt::WA_Hover);
    setAutoExclusive(true); // the arrow keys move within the list and not out of it
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    Theme::follow(this, &RecentFileRow::updateGeometry);
}

QSize RecentFileRow::sizeHint() const {
    const QFontMetrics metrics(Theme::font(Theme::TextStyle::body));
    return {Theme::length(280), metrics.height() + Theme::length(8)};
}

QSize RecentFileRow::minimumSizeHint() const {
    return {Theme::length(60), sizeHint().height()};
}

void RecentFileRow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

void RecentFileRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (!isFirst_)
        painter.fillRect(QRectF(0, 0, width(), Divider::thickness(*this)),
                         Theme::divider(palette()));
    paintButtonFace(painter, *this, Theme::length(4));

    const int margin = Theme::length(8);
    const int edge = Theme::length(13);
    paintSymbol(painter, Symbol::musicNote, QRectF(margin, (height() - edge) / 2.0, edge, edge),
                Theme::shapeColour(palette(), Theme::TextColour::secondary));
    const int left = margin + edge + margin;
    const QRect place(left, 0, width() - left - margin, height());
    painter.setFont(Theme::font(Theme::TextStyle::body));
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     painter.fontMetrics().elidedText(title_, Qt::ElideMiddle, place.width()));
}

RecentFileList::RecentFileList(const QList<QUrl>& files, QWidget* parent) : QWidget(parent) {
    describeAs<RecentFileList, QAccessible::List>();
    setAccessibleName(QStringLiteral("Recent Files"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    for (const QUrl& file : files) {
        auto* row = new RecentFileRow(file, column->count() == 0);
        column->addWidget(row);
        // The row may be replaced while its own click is being carried out.
        connect(
            row, &RecentFileRow::clicked, this, [this, file] { Q_EMIT fileChosen(file); },
            Qt::QueuedConnection);
    }
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* focused) {
        if (!focused || focused->parent() != this)
            return;
        leadTabTo(focused);
        Q_EMIT rowFocused(focused);
    });
}

void RecentFileList::putBefore(QWidget& next) {
    const auto rows = findChildren<RecentFileRow*>();
    if (rows.isEmpty())
        return;
    setTabOrder(rows.last(), &next); // as long as it is a stop
    leadTabTo(rows.first());
}

void RecentFileList::leadTabTo(const QObject* row) {
    for (auto* other : findChildren<RecentFileRow*>())
        other->setFocusPolicy(other == row ? Qt::TabFocus : Qt::NoFocus);
}

} // namespace ambrel
