#include "ui/HeaderBar.h"

#include <utility>

#include <QHBoxLayout>
#include <QPainter>

#include "app/PlainText.h"
#include "app/RecentFilesMenu.h"
#include "ui/MenuButton.h"
#include "ui/PushButton.h"
#include "ui/Spinner.h"
#include "ui/SymbolButton.h"
#include "ui/TextLabel.h"

namespace ambrel {

HeaderBar::HeaderBar(std::shared_ptr<AppState> state, const RecentFilesStore& recentFiles,
                     NotificationCenter& notifications, QWidget* parent)
    : QWidget(parent), state_(std::move(state)), row_(new QHBoxLayout(this)),
      openFile_(new PushButton(QStringLiteral("Open File..."))),
      openFromURL_(new PushButton(QStringLiteral("Open from URL..."))), spinner_(new Spinner(16)),
      message_(new TextLabel(Theme::TextStyle::caption, Theme::TextColour::secondary)),
      fileName_(new TextLabel(Theme::TextStyle::headline)) {
    auto* recentMenu = new RecentFilesMenu(QStringLiteral("Recent"), recentFiles, notifications);
    recent_ = new MenuButton(QStringLiteral("Recent"), recentMenu);
    row_->addWidget(openFile_);
    row_->addWidget(openFromURL_);
    row_->addWidget(recent_);
    row_->addStretch(1);
    row_->addWidget(spinner_);
    row_->addWidget(message_);
    row_->addWidget(fileName_);
    row_->addStretch(1);
    auto* help = new SymbolButton(QSizeF(28, 28), 17);
    help->setSymbol(Symbol::question, QStringLiteral("Help"));
    row_->addWidget(help);
    connect(help, &SymbolButton::clicked, this, &HeaderBar::helpRequested);
    for (TextLabel* status : {message_, fileName_}) {
        status->setAccessibleDescription(QStringLiteral("Status"));
        status->setElideMode(Qt::ElideMiddle);
    }
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    connect(openFile_, &PushButton::clicked, this, &HeaderBar::openFileRequested);
    connect(openFromURL_, &PushButton::clicked, this, &HeaderBar::openFromURLRequested);
    connect(recentMenu, &QMenu::aboutToShow, this, &HeaderBar::recentFilesWanted);
    connect(state_.get(), &AppState::changed, this, [this](AppState::Field field) {
        if (field == AppState::Field::loadingState || field == AppState::Field::audioFileURL ||
            field == AppState::Field::recentFiles)
            showState();
    });
    connect(&Theme::shared(), &Theme::changed, this, &HeaderBar::applyTheme);
    applyTheme();
    showState();
}

void HeaderBar::applyTheme() {
    const int side = Theme::length(16);
    const int above = Theme::length(10);
    row_->setContentsMargins(side, above, side, above);
    row_->setSpacing(Theme::length(10));
    // The bar keeps its height when there is nothing in it.
    setFixedHeight(openFile_->sizeHint().height() + 2 * above);
}

void HeaderBar::showState() {
    const LoadingState& loading = state_->loadingState();
    const bool isLoading = loading.isLoading();
    const bool namesFile = !isLoading && state_->audioFileURL();
    const QString name = namesFile ? state_->audioFileURL()->fileName() : QString();

    for (PushButton* open : {openFile_, openFromURL_}) {
        open->setVisible(!loading.isIdle());
        open->setEnabled(!isLoading);
    }
    recent_->setVisible(!loading.isIdle());
    recent_->setEnabled(!isLoading && !state_->recentFiles().isEmpty());
    spinner_->setVisible(isLoading);
    message_->setVisible(isLoading);
    message_->setText(loading.message);
    fileName_->setVisible(namesFile);
    fileName_->setText(name);
    fileName_->setToolTip(plainToolTip(name));
}

void HeaderBar::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), Theme::panelBackground(palette()));
}

} // namespace ambrel
