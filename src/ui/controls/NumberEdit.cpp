#include "ui/controls/NumberEdit.h"

#include <utility>

#include "ui/look/AccessibleFactory.h"

namespace ambrel {
namespace {

/// Adds the number to Qt's description of a line edit, which is private.
class NumberInterface : public QAccessibleWidget,
                        public QAccessibleTextInterface,
                        public QAccessibleEditableTextInterface,
                        public QAccessibleValueInterface {
  public:
    explicit NumberInterface(NumberEdit* edit)
        : QAccessibleWidget(edit, QAccessible::EditableText) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TextInterface)
            return static_cast<QAccessibleTextInterface*>(this);
        if (type == QAccessible::EditableTextInterface)
            return static_cast<QAccessibleEditableTextInterface*>(this);
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    QString text(QAccessible::Text kind) const override {
        const QString told = QAccessibleWidget::text(kind);
        if (kind == QAccessible::Value)
            return edit()->text();
        return kind == QAccessible::Description && told.isEmpty() ? edit()->placeholderText()
                                                                  : told;
    }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.editable = true;
        state.selectableText = true;
        return state;
    }

    QVariant currentValue() const override { return edit()->value(); }
    void setCurrentValue(const QVariant& value) override { edit()->setValue(value.toDouble()); }
    QVariant minimumValue() const override { return edit()->range().lowest; }
    QVariant maximumValue() const override { return edit()->range().highest; }
    QVariant minimumStepSize() const override { return edit()->range().step; }

    QString text(int start, int end) const override {
        return edit()->text().mid(start, end - start);
    }
    int characterCount() const override { return int(edit()->text().size()); }
    int cursorPosition() const override { return edit()->cursorPosition(); }
    void setCursorPosition(int position) override { edit()->setCursorPosition(position); }
    int selectionCount() const override {
        return edit()->hasSelectedText() && !edit()->isOffered() ? 1 : 0;
    }
    void selection(int, int* start, int* end) const override {
        *start = selectionCount() > 0 ? edit()->selectionStart() : cursorPosition();
        *end = selectionCount() > 0 ? edit()->selectionEnd() : cursorPosition();
    }
    void addSelection(int start, int end) override { setSelection(0, start, end); }
    void setSelection(int, int start, int end) override {
        edit()->setSelection(start, end - start);
    }
    void removeSelection(int) override { edit()->deselect(); }
    QString attributes(int, int* start, int* end) const override {
        *start = 0;
        *end = characterCount();
        return {};
    }
    void scrollToSubstring(int start, int) override { edit()->setCursorPosition(start); }

    QRect characterRect(int offset) const override {
        if (offset < 0 || offset >= characterCount())
            return {};
        const auto widthOf = [this](int length) {
            return edit()->fontMetrics().horizontalAdvance(edit()->text(), length);
        };
        const QRect cursor = edit()->inputMethodQuery(Qt::ImCursorRectangle).toRect();
        const int x = cursor.center().x() + widthOf(offset) - widthOf(cursorPosition());
        const QRect character(x, cursor.y(), widthOf(offset + 1) - widthOf(offset),
                              cursor.height());
        return character.translated(edit()->mapToGlobal(QPoint()));
    }
    int offsetAtPoint(const QPoint& point) const override {
        for (int offset = 0; offset < characterCount(); ++offset)
            if (characterRect(offset).contains(point))
                return offset;
        return -1;
    }

    void insertText(int offset, const QString& text) override { replaceText(offset, offset, text); }
    void deleteText(int start, int end) override { replaceText(start, end, {}); }
    void replaceText(int start, int end, const QString& text) override {
        edit()->setSelection(start, end - start);
        edit()->insert(text); // as if it were typed
    }

  private:
    NumberEdit* edit() const { return static_cast<NumberEdit*>(widget()); }
};

} // namespace

NumberEdit::NumberEdit(Number number, QWidget* parent)
    : QLineEdit(parent), number_(std::move(number)) {
    describeBy<NumberEdit, NumberInterface>();
}

void NumberEdit::valueChanged() {
    QAccessibleValueChangeEvent event(this, value());
    QAccessible::updateAccessibility(&event);
}

} // namespace ambrel
