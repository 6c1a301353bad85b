#include "ui/window/HeaderBar.h"

#include <algorithm>
#include <utility>

#include <QHBoxLayout>
#include <QPainter>

#include "ui/controls/ControlPanel.h"
#include "ui/controls/MenuButton.h"
#include "ui/controls/PushButton.h"
#include "ui/controls/SymbolButton.h"
#include "ui/look/PlainText.h"
#include "ui/look/Spinner.h"
#include "ui/look/TextLabel.h"
#include "ui/look/WrappingRow.h"
#include "ui/window/RecentFilesMenu.h"

namespace ambrel {
namespace {

constexpr double kIconEdge = 28; // points

} // namespace

HeaderBar::HeaderBar(std::shared_ptr<AppState> state, const RecentFilesStore& recentFiles,
                     NotificationCenter& notifications, bool takesDonations, QWidget* parent)
    : QWidget(parent), state_(std::move(state)),
      openFile_(new PushButton(QStringLiteral("Open File..."))),
      openFromURL_(new PushButton(QStringLiteral("Open from URL..."))), spinner_(new Spinner(16)),
      message_(new TextLabel(Theme::TextStyle::caption, Theme::TextColour::secondary)),
      fileName_(new TextLabel(Theme::TextStyle::headline)) {
    auto* recentMenu = new RecentFilesMenu(QStringLiteral("Recent"), recentFiles, notifications);
    recent_ = new MenuButton(QStringLiteral("Recent"), recentMenu);
    commands_ = new WrappingRow(10, {openFile_, openFromURL_, recent_});
    commands_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    auto* rest = new ControlRow(10);
    rest->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    rest->addStretch();
    rest->add(spinner_);
    rest->add(message_);
    rest->add(fileName_);
    rest->addStretch();
    addIconButtons(*rest, takesDonations);
    rest_ = rest;
    auto* place = new QHBoxLayout(this);
    Theme::space(place, 0, {16, 10, 16, 10});
    place->addWidget(new WrappingRow(10, {commands_, rest}));
    for (TextLabel* status : {message_, fileName_}) {
        status->setAccessibleDescription(QStringLiteral("Status"));
        status->setElideMode(Qt::ElideMiddle);
    }
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    connect(openFile_, &PushButton::clicked, this, &HeaderBar::openFileRequested);
    connect(openFromURL_, &PushButton::clicked, this, &HeaderBar::openFromURLRequested);
    connect(recentMenu, &QMenu::aboutToShow, this, &HeaderBar::recentFilesWanted);
    Theme::follow(this, &HeaderBar::applyTheme);
    state_->observe(this,
                    {AppState::Field::loadingState, AppState::Field::audioFileURL,
                     AppState::Field::recentFiles},
                    [this] { showState(); });
}

void HeaderBar::addIconButtons(ControlRow& row, bool takesDonations) {
    const auto add = [this, &row](Symbol symbol, const QString& name, const QString& toolTip,
                                  void (HeaderBar::*requested)()) {
        auto* button = new SymbolButton(QSizeF(kIconEdge, kIconEdge), 17);
        button->setSymbol(symbol, name);
        button->setToolTip(toolTip);
        row.add(button);
        connect(button, &SymbolButton::clicked, this, requested);
        return button;
    };
    // The tool tip would be read after the name: the name again, and the name of a sign.
    add(Symbol::gearshape, QStringLiteral("Settings"), QStringLiteral("Settings (⌘,)"),
        &HeaderBar::settingsRequested)
        ->setAccessibleDescription(QStringLiteral("Ctrl+,"));
    add(Symbol::question, QStringLiteral("Help"), QStringLiteral("Help"),
        &HeaderBar::helpRequested);
    if (takesDonations)
        add(Symbol::heart, QStringLiteral("Donate"),
            QStringLiteral("If you find Ambrel useful, consider supporting the creator's next "
                           "questionable gear purchase."),
            &HeaderBar::donationRequested);
}

void HeaderBar::applyTheme() {
    // The bar keeps its height when there are no commands in it.
    rest_->setMinimumHeight(std::max(Theme::length(kIconEdge), openFile_->sizeHint().height()));
}

void HeaderBar::showState() {
    const LoadingState& loading = state_->loadingState();
    const bool isLoading = loading.isLoading();
    const bool namesFile = !isLoading && state_->audioFileURL();
    const QString name = namesFile ? state_->audioFileURL()->fileName() : QString();

    commands_->setVisible(!loading.isIdle());
    for (PushButton* open : {openFile_, openFromURL_})
        open->setEnabled(!isLoading);
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
