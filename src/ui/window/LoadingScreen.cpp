#include "ui/window/LoadingScreen.h"

#include <QVBoxLayout>

#include "ui/controls/Spinner.h"
#include "ui/controls/TextLabel.h"

namespace ambrel {

LoadingScreen::LoadingScreen(QWidget* parent)
    : QWidget(parent), column_(new QVBoxLayout(this)),
      message_(new TextLabel(Theme::TextStyle::callout, Theme::TextColour::secondary)) {
    message_->setAccessibleDescription(QStringLiteral("Progress"));
    message_->setAlignment(Qt::AlignCenter);

    column_->addStretch();
    column_->addWidget(new Spinner(32), 0, Qt::AlignHCenter);
    column_->addWidget(message_);
    column_->addStretch();

    connect(&Theme::shared(), &Theme::changed, this, &LoadingScreen::applyTheme);
    applyTheme();
}

void LoadingScreen::setMessage(const QString& message) {
    message_->setText(message);
}

void LoadingScreen::applyTheme() {
    const int margin = Theme::length(16);
    column_->setContentsMargins(margin, margin, margin, margin);
    column_->setSpacing(Theme::length(12));
}

} // namespace ambrel
