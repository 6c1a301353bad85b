#pragma once

#include <QLabel>

#include "ui/look/Theme.h"

namespace ambrel {

/// Plain text in a text style of the theme, shown literally: no markup, no mnemonics; in a single
/// line, a line break becomes a space.
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
    /// Shortens a text that is too long, by default in the middle, instead of widening the window.
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
