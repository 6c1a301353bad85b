#include "ui/window/WelcomeScreen.h"

#include <QVBoxLayout>

#include "ui/controls/PushButton.h"
#include "ui/controls/SymbolView.h"
#include "ui/controls/TextLabel.h"
#include "ui/window/RecentFilesBox.h"

namespace ambrel {

WelcomeScreen::WelcomeScreen(const std::shared_ptr<AppState>& state, QWidget* parent)
    : QWidget(parent), column_(new QVBoxLayout(this)), buttons_(new QVBoxLayout) {
    auto* openFile =
        new PushButton(QStringLiteral("Open File…"), PushButton::Prominence::prominent);
    auto* openFromURL =
        new PushButton(QStringLiteral("Open from URL…"), PushButton::Prominence::large);
    auto* title = new TextLabel(QStringLiteral("Ambrel"), Theme::TextStyle::title2);
    title->setBold(true);
    buttons_->addWidget(openFile); // both as wide as the wider one
    buttons_->addWidget(openFromURL);

    column_->addStretch();
    column_->addWidget(new SymbolView(Symbol::waveform, 52, Theme::TextColour::tertiary), 0,
                       Qt::AlignHCenter);
    column_->addWidget(title, 0, Qt::AlignHCenter);
    column_->addLayout(buttons_);
    column_->setAlignment(buttons_, Qt::AlignHCenter);
    auto* recentFiles = new RecentFilesBox;
    column_->addWidget(recentFiles, 0, Qt::AlignHCenter);
    column_->addStretch();

    connect(openFile, &PushButton::clicked, this, &WelcomeScreen::openFileRequested);
    connect(openFromURL, &PushButton::clicked, this, &WelcomeScreen::openFromURLRequested);
    connect(recentFiles, &RecentFilesBox::fileChosen, this, &WelcomeScreen::recentFileChosen);
    connect(recentFiles, &RecentFilesBox::clearRequested, this,
            &WelcomeScreen::clearRecentsRequested);
    const auto showRecentFiles = [state = std::weak_ptr(state), recentFiles] {
        if (const auto model = state.lock())
            recentFiles->setFiles(model->recentFiles());
    };
    connect(state.get(), &AppState::changed, this, [showRecentFiles](AppState::Field field) {
        if (field == AppState::Field::recentFiles)
            showRecentFiles();
    });
    showRecentFiles();
    connect(&Theme::shared(), &Theme::changed, this, &WelcomeScreen::applyTheme);
    applyTheme();
}

void WelcomeScreen::applyTheme() {
    const int margin = Theme::length(16);
    column_->setContentsMargins(margin, margin, margin, margin);
    column_->setSpacing(Theme::length(14));
    buttons_->setSpacing(column_->spacing());
}

} // namespace ambrel
