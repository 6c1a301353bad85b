#include "ui/window/LoadingScreen.h"

#include <QVBoxLayout>

#include "ui/look/Spinner.h"
#include "ui/look/TextLabel.h"

namespace ambrel {

LoadingScreen::LoadingScreen(QWidget* parent)
    : QWidget(parent),
      message_(new TextLabel(Theme::TextStyle::callout, Theme::TextColour::secondary)) {
    message_->setAccessibleDescription(QStringLiteral("Progress"));
    message_->setAlignment(Qt::AlignCenter);

    auto* column = new QVBoxLayout(this);
    Theme::space(column, 12, {16, 16, 16, 16});
    column->addStretch();
    column->addWidget(new Spinner(32), 0, Qt::AlignHCenter);
    column->addWidget(message_);
    column->addStretch();
}

void LoadingScreen::setMessage(const QString& message) {
    message_->setText(message);
}

} // namespace ambrel
