#include "ui/window/WelcomeScreen.h"

#include <QVBoxLayout>

#include "ui/controls/PushButton.h"
#include "ui/look/SymbolView.h"
#include "ui/look/TextLabel.h"
#include "ui/window/RecentFilesBox.h"

namespace ambrel {

WelcomeScreen::WelcomeScreen(const std::shared_ptr<AppState>& state, QWidget* parent)
    : QWidget(parent) {
    auto* openFile =
        new PushButton(QStringLiteral("Open File…"), PushButton::Prominence::prominent);
    auto* openFromURL =
        new PushButton(QStringLiteral("Open from URL…"), PushButton::Prominence::large);
    auto* title = new TextLabel(QStringLiteral("Ambrel"), Theme::TextStyle::title2);
    title->setBold(true);
    auto* buttons = new QVBoxLayout;
    Theme::space(buttons, 14);
    buttons->addWidget(openFile); // both as wide as the wider one
    buttons->addWidget(openFromURL);

    auto* column = new QVBoxLayout(this);
    Theme::space(column, 14, {16, 16, 16, 16});
    column->addStretch();
    column->addWidget(new SymbolView(Symbol::waveform, 52, Theme::TextColour::tertiary), 0,
                      Qt::AlignHCenter);
    column->addWidget(title, 0, Qt::AlignHCenter);
    column->addLayout(buttons);
    column->setAlignment(buttons, Qt::AlignHCenter);
    auto* recentFiles = new RecentFilesBox;
    column->addWidget(recentFiles, 0, Qt::AlignHCenter);
    column->addStretch();

    connect(openFile, &PushButton::clicked, this, &WelcomeScreen::openFileRequested);
    connect(openFromURL, &PushButton::clicked, this, &WelcomeScreen::openFromURLRequested);
    connect(recentFiles, &RecentFilesBox::fileChosen, this, &WelcomeScreen::recentFileChosen);
    connect(recentFiles, &RecentFilesBox::clearRequested, this,
            &WelcomeScreen::clearRecentsRequested);
    state->observe(this, {AppState::Field::recentFiles}, [state = state.get(), recentFiles] {
        recentFiles->setFiles(state->recentFiles());
    });
}

} // namespace ambrel
