#pragma once

#include <functional>

#include "ui/controls/NumberEdit.h"
#include "ui/look/Theme.h"

namespace ambrel {

/// A field for typing a number. Gaining the focus clears it; Return and losing the focus commit the
/// text; Escape leaves without committing. refresh() does not disturb typing. Any text can be
/// typed; an invalid one is discarded on commit. Switching to another window and back keeps the
/// focus and the text. The accessible description is always the current value, with its unit, even
/// while another is being typed.
class NumberField : public NumberEdit {
    Q_OBJECT

  public:
    enum class AfterReturn {
        leave,      ///< give up the focus
        leaveWhole, ///< give up the focus, truncating the value to a whole number
        stay        ///< keep the focus with the text selected, to be committed again
    };

    /// The behaviour of one field.
    struct Rules {
        /// The text that shows the value.
        std::function<QString()> text;
        /// The value as screen readers say it, with its unit. May be empty: as the text.
        std::function<QString()> spoken = {};
        /// Sets the model from a text; false if it is invalid. `anchor` is the value when typing
        /// began.
        std::function<bool(const QString& text, double anchor)> commit;
        /// One step up (1) or down (-1). May be empty.
        std::function<void(int direction)> step;
        AfterReturn afterReturn = AfterReturn::leave;
    };

    /// `width` in points of the standard body font; more where the style's frame leaves too little.
    NumberField(const QString& accessibleName, double width, Theme::TextStyle style, Number number,
                Rules rules, QWidget* parent = nullptr);

    /// Shows the current value, unless something is being typed.
    void refresh();

    /// Shows the current value selected, ready to be typed over.
    void editSelected();

    /// Makes a step, or sets another value, and shows it in place of the text being typed.
    void step(int direction);
    void setValue(double value) override;

    /// Commits the text being typed, if any, as losing the focus would.
    void commitTyping();

    bool isOffered() const override;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    enum class State {
        shown,   ///< shows the value and follows it
        entered, ///< still shows it; cleared once the focus change is announced
        typing,  ///< shows what the user types
        leaving  ///< losing the focus without a commit
    };

    void applyTheme();
    void beginTyping(State state);
    void clearForTyping();
    bool commit();
    void showValue();
    void tellValue();
    void showInstead();
    void submit();
    void leave();
    void stepByKey(int direction);

    double width_;
    Theme::TextStyle style_;
    Rules rules_;
    State state_ = State::shown;
    double anchor_ = 0; ///< the value when typing began
};

} // namespace ambrel
