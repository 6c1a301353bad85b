#include "ui/window/RecentFilesBox.h"

#include <algorithm>

#include <QScrollArea>
#include <QVBoxLayout>

#include "ui/controls/PushButton.h"
#include "ui/look/RoundedPanel.h"
#include "ui/look/TextLabel.h"
#include "ui/look/Theme.h"
#include "ui/window/RecentFileRow.h"

namespace ambrel {

RecentFilesBox::RecentFilesBox(QWidget* parent)
    : QWidget(parent), scroller_(new QScrollArea),
      clear_(new PushButton(QStringLiteral("Clear Recents"), PushButton::Prominence::quiet)) {
    auto* panel = new RoundedPanel;
    auto* panelColumn = new QVBoxLayout(panel);
    Theme::space(panelColumn, 6, {10, 10, 10, 10});
    panelColumn->addWidget(
        new TextLabel(QStringLiteral("Recent Files"), Theme::TextStyle::headline));
    panelColumn->addWidget(scroller_);
    scroller_->setWidgetResizable(true);
    scroller_->setFrameShape(QFrame::NoFrame);
    scroller_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroller_->setFocusPolicy(Qt::NoFocus); // a click on it would take Space away from playing
    scroller_->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    scroller_->viewport()->setAutoFillBackground(false);

    auto* column = new QVBoxLayout(this);
    Theme::space(column, 6);
    column->addWidget(panel);
    column->addWidget(clear_, 0, Qt::AlignHCenter);

    connect(clear_, &PushButton::clicked, this, &RecentFilesBox::clearRequested);
    Theme::follow(this, [this] { setFixedWidth(Theme::length(300)); });
    hide();
}

void RecentFilesBox::setFiles(const QList<QUrl>& files) {
    if (files != files_) { // equal ones keep their rows, and the focus that one of them may have
        files_ = files;
        fillRows();
    }
    setVisible(!files_.isEmpty());
}

void RecentFilesBox::fillRows() {
    auto* list = new RecentFileList(files_);
    connect(list, &RecentFileList::fileChosen, this, &RecentFilesBox::fileChosen);
    connect(list, &RecentFileList::rowFocused, scroller_,
            [this](QWidget* row) { scroller_->ensureWidgetVisible(row, 0, 0); });
    scroller_->setWidget(list);
    list->putBefore(*clear_);
    // An area asks for room for its scroll bars, which is more than a row or two.
    scroller_->setMinimumHeight(std::min(list->sizeHint().height(), Theme::length(70)));
    list->setAutoFillBackground(false); // the area sets it
    updateGeometry();
}

} // namespace ambrel
