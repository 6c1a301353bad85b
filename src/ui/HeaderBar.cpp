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
                     NotificationCenter& notifications, bool takesDonations, QWidget* parent)
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
    addIconButtons(takesDonations);
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

void HeaderBar::addIconButtons(bool takesDonations) {
    const auto add = [this](Symbol symbol, const QString& name, const QString& toolTip,
                            void (HeaderBar::*requested)()) {
        auto* button = new SymbolButton(QSizeF(28, 28), 17);
        button->setSymbol(symbol, name);
        button->setToolTip(toolTip);
        row_->addWidget(button);
        connect(button, &SymbolButton::clicked, this, requested);
    };
    add(Symbol::gearshape, QStringLiteral("Settings"), QStringLiteral("Settings (⌘,)"),
        &HeaderBar::settingsRequested);
    add(Symbol::question, QStringLiteral("Help"), QStringLiteral("Help"),
        &HeaderBar::helpRequested);
    if (takesDonations)
        add(Symbol::heart, QStringLiteral("Donate"),
            QStringLiteral("If you find Ambrel useful, consider supporting the creator's next "
                           "questionable gear purchase."),
            &HeaderBar::donationRequested);
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
