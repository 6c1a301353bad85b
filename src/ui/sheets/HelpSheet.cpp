#include "ui/sheets/HelpSheet.h"

#include <optional>

#include <QGridLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QScroller>
#include <QVBoxLayout>

#include "ui/controls/PushButton.h"
#include "ui/look/Divider.h"
#include "ui/look/TextLabel.h"
#include "ui/look/Theme.h"
#include "ui/sheets/HelpTexts.h"

namespace ambrel {
namespace {

/// A combination of keys on a small key cap.
class KeyCap : public TextLabel {
  public:
    explicit KeyCap(const QString& keys) : TextLabel(keys, Theme::TextStyle::callout) {
        setMonospaced(true);
        setContentsMargins(Theme::length(6), Theme::length(2), Theme::length(6), Theme::length(2));
    }

  protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        QColor fill = palette().color(QPalette::WindowText);
        fill.setAlphaF(0.1F);
        painter.setBrush(fill);
        const double radius = Theme::length(4);
        painter.drawRoundedRect(rect(), radius, radius);
        painter.end();
        TextLabel::paintEvent(event);
    }
};

TextLabel* makeText(const QString& text) {
    auto* label = new TextLabel(text, Theme::TextStyle::callout, Theme::TextColour::secondary);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    return label;
}

QVBoxLayout* makeSection(const QString& title) {
    auto* section = new QVBoxLayout;
    Theme::space(section, 6);
    section->addWidget(new TextLabel(title, Theme::TextStyle::headline));
    return section;
}

QLayout* makeShortcuts() {
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(Theme::length(16));
    grid->setVerticalSpacing(Theme::length(4));
    grid->setColumnStretch(1, 1);
    int row = 0;
    for (const HelpShortcut& shortcut : helpShortcuts()) {
        grid->addWidget(new KeyCap(shortcut.keys), row, 0, Qt::AlignLeft | Qt::AlignVCenter);
        grid->addWidget(makeText(shortcut.description), row++, 1, Qt::AlignVCenter);
    }
    return grid;
}

} // namespace

HelpSheet::HelpSheet(QWidget* parent) : QDialog(parent), scroller_(new QScrollArea) {
    setWindowTitle(QStringLiteral("Help"));
    scroller_->setWidget(makeContent());
    scroller_->setWidgetResizable(true);
    scroller_->setFrameShape(QFrame::NoFrame);
    scroller_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroller_->setFocusPolicy(Qt::NoFocus);
    setFocusPolicy(Qt::StrongFocus);
    setFocus(); // before "Done" has it: Space turns the page
    QScroller::grabGesture(scroller_->viewport(), QScroller::TouchGesture);
    auto* place = new QVBoxLayout(this);
    place->setContentsMargins(0, 0, 0, 0);
    place->addWidget(scroller_);
    setMinimumSize(Theme::windowSize({520, 480}, screen()));
    resize(Theme::windowSize({560, 560}, screen()));
}

/// Gestures must be released, or they outlive the widget.
HelpSheet::~HelpSheet() {
    QScroller::ungrabGesture(scroller_->viewport());
}

QWidget* HelpSheet::makeContent() {
    auto* title = new TextLabel(QStringLiteral("Help"), Theme::TextStyle::title);
    title->setBold(true);
    auto* done = new PushButton(QStringLiteral("Done"));
    done->installEventFilter(this);
    connect(done, &PushButton::clicked, this, &QDialog::accept);
    auto* header = new QHBoxLayout;
    header->addWidget(title);
    header->addStretch(1);
    header->addWidget(done);

    auto* content = new QWidget;
    auto* column = new QVBoxLayout(content);
    Theme::space(column, 20, {24, 24, 24, 24});
    column->addLayout(header);
    column->addWidget(new Divider);
    for (const HelpSection& text : helpSections()) {
        QVBoxLayout* section = makeSection(text.title);
        section->addWidget(makeText(text.lines.join(QLatin1Char('\n'))));
        column->addLayout(section);
    }
    QVBoxLayout* shortcuts = makeSection(QStringLiteral("Keyboard Shortcuts"));
    shortcuts->addLayout(makeShortcuts());
    shortcuts->addWidget(new TextLabel(QStringLiteral("Cmd is the Ctrl key on this keyboard."),
                                       Theme::TextStyle::caption, Theme::TextColour::secondary));
    column->addLayout(shortcuts);
    column->addStretch(1);
    return content;
}

void HelpSheet::keyPressEvent(QKeyEvent* event) {
    if (!scroll(event->key() == Qt::Key_Space ? Qt::Key_PageDown : event->key()))
        QDialog::keyPressEvent(event);
}

/// "Done" would use the arrow keys to move the focus.
bool HelpSheet::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && scroll(static_cast<QKeyEvent*>(event)->key()))
        return true;
    return QDialog::eventFilter(watched, event);
}

bool HelpSheet::scroll(int key) {
    const auto action = [key]() -> std::optional<QAbstractSlider::SliderAction> {
        switch (key) {
        case Qt::Key_Up:
            return QAbstractSlider::SliderSingleStepSub;
        case Qt::Key_Down:
            return QAbstractSlider::SliderSingleStepAdd;
        case Qt::Key_PageUp:
            return QAbstractSlider::SliderPageStepSub;
        case Qt::Key_PageDown:
            return QAbstractSlider::SliderPageStepAdd;
        case Qt::Key_Home:
            return QAbstractSlider::SliderToMinimum;
        case Qt::Key_End:
            return QAbstractSlider::SliderToMaximum;
        default:
            return {};
        }
    }();
    if (action)
        scroller_->verticalScrollBar()->triggerAction(*action);
    return action.has_value();
}

} // namespace ambrel
