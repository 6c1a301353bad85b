#include "ui/NumberField.h"

#include <utility>

#include <QFocusEvent>
#include <QKeyEvent>

namespace ambrel {
namespace {

/// The focus comes from or goes to another window or a menu: the field is not being left.
bool isPassing(const QFocusEvent& event) {
    return event.reason() == Qt::ActiveWindowFocusReason ||
           event.reason() == Qt::PopupFocusReason || event.reason() == Qt::MenuBarFocusReason;
}

} // namespace

NumberField::NumberField(const QString& accessibleName, double width, Theme::TextStyle style,
                         Rules rules, QWidget* parent)
    : QLineEdit(parent), width_(width), style_(style), rules_(std::move(rules)) {
    setAccessibleName(accessibleName);
    setAlignment(Qt::AlignCenter);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(this, &QLineEdit::textEdited, this, [this] { isEditing_ = isTyped_ = true; });
    connect(&Theme::shared(), &Theme::changed, this, &NumberField::applyTheme);
    applyTheme();
    showValue();
}

void NumberField::applyTheme() {
    setFont(Theme::monospacedFont(style_));
    updateGeometry();
}

QSize NumberField::sizeHint() const {
    return {Theme::length(width_), QLineEdit::sizeHint().height()};
}

void NumberField::refresh() {
    if (!isEditing_)
        showValue();
    else
        setAccessibleDescription(rules_.text());
}

void NumberField::showValue() {
    setText(rules_.text());
    setAccessibleDescription(text());
    isTyped_ = false;
}

void NumberField::editSelected() {
    keepsText_ = true;
    setFocus();
    keepsText_ = false;
    selectAll();
}

void NumberField::focusInEvent(QFocusEvent* event) {
    QLineEdit::focusInEvent(event);
    if (!isPassing(*event))
        beginEditing();
}

void NumberField::beginEditing() {
    if (rules_.begin)
        rules_.begin();
    isEditing_ = true;
    if (keepsText_)
        return;
    // A screen reader that hears of the text before it hears of the focus, which Qt tells after
    // this, says nothing.
    isToBeCleared_ = true;
    QMetaObject::invokeMethod(this, &NumberField::clearForTyping, Qt::QueuedConnection);
}

void NumberField::clearForTyping() {
    if (!std::exchange(isToBeCleared_, false))
        return;
    clear();
    isTyped_ = true;
}

void NumberField::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    if (!isPassing(*event))
        commit();
}

bool NumberField::commit() {
    if (isCommitting_)
        return false;
    clearForTyping();
    isCommitting_ = true;
    isEditing_ = false;
    const bool isTaken = rules_.commit(text(), isTyped_);
    showValue();
    isCommitting_ = false;
    return isTaken;
}

void NumberField::submit() {
    const bool isTaken = commit();
    if (rules_.keepsFocusOnReturn)
        selectAll();
    else if (isTaken)
        clearFocus(); // which commits the value as it is shown: whole
    else
        leaveWithoutCommit();
}

void NumberField::cancel() {
    isToBeCleared_ = false;
    isEditing_ = false;
    showValue();
    leaveWithoutCommit();
}

void NumberField::leaveWithoutCommit() {
    isCommitting_ = true;
    clearFocus();
    isCommitting_ = false;
}

/// What was typed so far counts first, as it would for a button beside the field.
void NumberField::step(int direction) {
    if (!text().isEmpty() && isTyped_)
        rules_.commit(text(), true);
    rules_.step(direction);
    isEditing_ = false;
    showValue();
    selectAll();
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
        return cancel();
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (isPlain && rules_.step)
            return step(event->key() == Qt::Key_Up ? 1 : -1);
        break;
    default:
        break;
    }
    QLineEdit::keyPressEvent(event);
}

} // namespace ambrel
