#include "ui/controls/NumberField.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QFocusEvent>
#include <QKeyEvent>

namespace ambrel {
namespace {

/// The focus moves to or from another window or a menu: the field is not being left.
bool isPassing(const QFocusEvent& event) {
    return event.reason() == Qt::ActiveWindowFocusReason ||
           event.reason() == Qt::PopupFocusReason || event.reason() == Qt::MenuBarFocusReason;
}

/// Qt selects the text for this reason.
constexpr Qt::FocusReason kToSelected = Qt::ShortcutFocusReason;

} // namespace

NumberField::NumberField(const QString& accessibleName, double width, Theme::TextStyle style,
                         Number number, Rules rules, QWidget* parent)
    : NumberEdit(std::move(number), parent), width_(width), style_(style),
      rules_(std::move(rules)) {
    setAccessibleName(accessibleName);
    setAlignment(Qt::AlignCenter);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAcceptDrops(false); // into a field that is not being typed into
    connect(this, &QLineEdit::textEdited, this, [this] {
        if (state_ == State::shown)
            beginTyping(State::typing);
    });
    Theme::follow(this, &NumberField::applyTheme);
    showValue();
}

void NumberField::applyTheme() {
    setFont(Theme::monospacedFont(style_));
    updateGeometry();
}

QSize NumberField::sizeHint() const {
    constexpr double pointsPerCharacter = 12; // with the frame's share in a usual style
    const QSize ofSeventeen = QLineEdit::sizeHint();
    const int toSpare = 17 - int(width_ / pointsPerCharacter);
    const int needed =
        ofSeventeen.width() - toSpare * fontMetrics().horizontalAdvance(QLatin1Char('x'));
    return {std::max(Theme::length(width_), needed), ofSeventeen.height()};
}

void NumberField::refresh() {
    if (state_ == State::shown)
        showValue();
    else
        tellValue();
}

void NumberField::showValue() {
    // Screen readers would take the same text again for a new one.
    if (const QString value = rules_.text(); value != text() || isModified())
        setText(value);
    tellValue();
}

void NumberField::tellValue() {
    const QString told = rules_.spoken ? rules_.spoken() : rules_.text();
    if (told == accessibleDescription())
        return;
    setAccessibleDescription(told);
    if (!hasFocus()) // or they repeat name, role and text
        valueChanged();
}

bool NumberField::isOffered() const {
    return state_ == State::shown && selectedText() == text();
}

void NumberField::editSelected() {
    setFocus(kToSelected);
}

void NumberField::focusInEvent(QFocusEvent* event) {
    QLineEdit::focusInEvent(event);
    if (isPassing(*event) || event->reason() == kToSelected)
        return;
    beginTyping(State::entered);
    // The focus must be announced before the text (Qt announces it after this), or screen readers
    // stay silent.
    QMetaObject::invokeMethod(this, &NumberField::clearForTyping, Qt::QueuedConnection);
}

void NumberField::beginTyping(State state) {
    anchor_ = value();
    state_ = state;
}

void NumberField::clearForTyping() {
    if (state_ != State::entered)
        return;
    state_ = State::typing;
    setText({}); // clear() could be undone
}

void NumberField::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    if (!isPassing(*event))
        commit();
}

void NumberField::hideEvent(QHideEvent* event) {
    QLineEdit::hideEvent(event);
    if (!event->spontaneous())
        commitTyping(); // an inactive window loses no focus
}

void NumberField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::EnabledChange)
        commitTyping();
}

void NumberField::commitTyping() {
    if (state_ != State::shown)
        commit();
}

bool NumberField::commit() {
    clearForTyping();
    const bool isAgain = state_ == State::shown && rules_.afterReturn == AfterReturn::stay;
    if (state_ != State::typing && !isAgain)
        return false;
    state_ = State::shown;
    const bool isTaken = rules_.commit(text(), anchor_);
    showValue();
    return isTaken;
}

void NumberField::submit() {
    const bool isTaken = commit();
    if (rules_.afterReturn == AfterReturn::stay)
        return selectAll();
    if (isTaken && rules_.afterReturn == AfterReturn::leaveWhole)
        setValue(std::trunc(value()));
    leave();
}

void NumberField::leave() {
    state_ = State::leaving;
    clearFocus();
    state_ = State::shown;
    showValue();
}

void NumberField::step(int direction) {
    rules_.step(direction);
    showInstead();
}

void NumberField::setValue(double value) {
    NumberEdit::setValue(value);
    showInstead();
}

void NumberField::showInstead() {
    state_ = State::shown;
    showValue();
    if (hasFocus())
        selectAll();
}

/// Commits typed text first, as a button that takes the focus would.
void NumberField::stepByKey(int direction) {
    if (state_ == State::typing && !text().isEmpty())
        rules_.commit(text(), anchor_);
    step(direction);
}

void NumberField::keyPressEvent(QKeyEvent* event) {
    clearForTyping();
    const bool isPlain =
        !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return submit();
    case Qt::Key_Escape:
        return leave();
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (isPlain && rules_.step)
            return stepByKey(event->key() == Qt::Key_Up ? 1 : -1);
        break;
    default:
        break;
    }
    QLineEdit::keyPressEvent(event);
}

} // namespace ambrel
