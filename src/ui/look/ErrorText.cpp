#include "ui/look/ErrorText.h"

#include <cmath>

#include <QApplication>
#include <QScreen>

#include "ui/look/Theme.h"

namespace ambrel {
namespace {

constexpr double kRoomForTheRest = 400; // of the screen's height, for what stands around the text
constexpr int kRoomBeside = 40;         // of its width

/// In characters. Much longer texts take seconds to lay out, in some alphabets.
constexpr int kMostShown = 8000;

} // namespace

ErrorText::ErrorText(int width, QWidget* parent) : QTextEdit(parent), width_(width) {
    setAccessibleDescription(QStringLiteral("Error"));
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setFrameShape(QFrame::NoFrame);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(0);
    Theme::follow(this, &ErrorText::applyTheme);
}

void ErrorText::setMessage(const QString& message) {
    const QString shown =
        message.size() > kMostShown ? QStringLiteral("…") + message.right(kMostShown) : message;
    setPlainText(shown);
    setAccessibleName(shown);
    fitHeight();
}

void ErrorText::applyTheme() {
    setFont(Theme::font(Theme::TextStyle::caption));
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Text, Theme::textColour(palette, Theme::TextColour::error));
    setPalette(palette);
    fitHeight();
}

void ErrorText::fitHeight() {
    const int width =
        Theme::windowSize({width_ + kRoomBeside, 0}, screen()).width() - Theme::length(kRoomBeside);
    document()->setTextWidth(width);
    const int wanted = int(std::ceil(document()->size().height()));
    const int most = screen()->availableSize().height() - Theme::length(kRoomForTheRest);
    setVerticalScrollBarPolicy(wanted > most ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    setFixedSize(width, std::min(wanted, std::max(most, Theme::length(80))));
}

} // namespace ambrel
