#pragma once

#include <functional>

#include <QLineEdit>

#include "ui/Theme.h"

namespace ambrel {

/// A field for a typed number. Gaining the focus clears it for fresh typing; Return and the loss of
/// focus commit; Escape leaves it without. While it is typed into, refresh() leaves it alone. It
/// takes any text: what is no number is thrown out by the commit. Coming back from another window
/// it still has the focus and what was typed. Its accessible description is the value as it is,
/// also while that is typed over.
class NumberField : public QLineEdit {
    Q_OBJECT

  public:
    /// What one field does differently from the next.
    struct Rules {
        /// How the value is shown.
        std::function<QString()> text;
        /// Takes a text over into the model; false when it is no value. `isTyped` is false for the
        /// field's own text, which is committed once more when Return gives up the focus.
        std::function<bool(const QString& text, bool isTyped)> commit;
        /// Typing begins. May be empty.
        std::function<void()> begin;
        /// One step up (1) or down (-1), by the arrow keys. May be empty.
        std::function<void(int direction)> step;
        bool keepsFocusOnReturn = false; ///< and then selects its text
    };

    /// `width` in points of the standard body font.
    NumberField(const QString& accessibleName, double width, Theme::TextStyle style, Rules rules,
                QWidget* parent = nullptr);

    /// Shows the value as it is now, unless it is being typed into.
    void refresh();

    /// Selects the value as it is, to be typed over.
    void editSelected();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void applyTheme();
    void beginEditing();
    void clearForTyping();
    bool commit();
    void leaveWithoutCommit();
    void showValue();
    void submit();
    void cancel();
    void step(int direction);

    double width_;
    Theme::TextStyle style_;
    Rules rules_;
    bool isEditing_ = false;
    bool isCommitting_ = false;  ///< a commit may hide the field, which takes its focus
    bool isToBeCleared_ = false; ///< as soon as it is known to have the focus
    bool isTyped_ = false;       ///< the text is the user's, not the value's
    bool keepsText_ = false;     ///< the focus is about to come, and what is shown is to stay
};

} // namespace ambrel
