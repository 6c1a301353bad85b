#pragma once

#include <QLabel>

#include "ui/controls/Theme.h"

namespace ambrel {

/// One run of plain text in a text style of the theme. Whatever the text holds is shown as it is:
/// no markup, no mnemonics, and a line break in a single line becomes a space.
class TextLabel : public QLabel {
    Q_OBJECT

  public:
    explicit TextLabel(Theme::TextStyle style,
                       Theme::TextColour colour = Theme::TextColour::primary,
                       QWidget* parent = nullptr);
    TextLabel(const QString& text, Theme::TextStyle style,
              Theme::TextColour colour = Theme::TextColour::primary, QWidget* parent = nullptr);

    void setColour(Theme::TextColour colour);
    void setBold(bool bold);
    /// Digits of equal width.
    void setMonospaced(bool monospaced);
    /// A text that is too long loses its middle (or another part) rather than widening the window.
    void setElideMode(Qt::TextElideMode mode);

    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void applyTheme();

    Theme::TextStyle style_;
    Theme::TextColour colour_;
    bool bold_ = false;
    bool monospaced_ = false;
    Qt::TextElideMode elideMode_ = Qt::ElideNone;
};

} // namespace ambrel
