#pragma once

#include <functional>

#include "ui/controls/NumberEdit.h"
#include "ui/controls/Theme.h"

namespace ambrel {

/// A field for a typed number. Gaining the focus clears it for fresh typing; Return and the loss of
/// focus commit; Escape leaves it without. While it is typed into, refresh() leaves it alone. It
/// takes any text: what is no number is thrown out by the commit. Coming back from another window
/// it still has the focus and what was typed. Its accessible description is the value as it is,
/// also while that is typed over.
class NumberField : public NumberEdit {
    Q_OBJECT

  public:
    enum class AfterReturn {
        leave,      ///< give up the focus
        leaveWhole, ///< give up the focus, with the value as whole as it is shown
        stay        ///< keep the focus with the text selected, to be committed again
    };

    /// What one field does differently from the next.
    struct Rules {
        /// How the value is shown.
        std::function<QString()> text;
        /// Takes a text over into the model; false when it is no value. `anchor` is the value when
        /// typing began.
        std::function<bool(const QString& text, double anchor)> commit;
        /// One step up (1) or down (-1). May be empty.
        std::function<void(int direction)> step;
        AfterReturn afterReturn = AfterReturn::leave;
    };

    /// `width` in points of the standard body font.
    NumberField(const QString& accessibleName, double width, Theme::TextStyle style, Number number,
                Rules rules, QWidget* parent = nullptr);

    /// Shows the value as it is now, unless it is being typed into.
    void refresh();

    /// Selects the value as it is, to be typed over.
    void editSelected();

    /// Takes a step, or another value, and shows it in place of what is being typed.
    void step(int direction);
    void setValue(double value) override;

    /// Commits what is being typed, if anything is, as the loss of focus would.
    void commitTyping();

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
        shown,   ///< the text is the value's and follows it
        entered, ///< the same text, to be cleared as soon as the focus has been told
        typing,  ///< the text is the user's
        leaving  ///< without a commit
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
