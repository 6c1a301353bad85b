#pragma once

#include <QTextEdit>

namespace ambrel {

/// What went wrong, word for word: plain, red, selectable, and on as many lines as it takes. One
/// that would not fit on the screen scrolls.
class ErrorText : public QTextEdit {
    Q_OBJECT

  public:
    /// `width` in points of the standard body font.
    explicit ErrorText(int width, QWidget* parent = nullptr);

    void setMessage(const QString& message);

  private:
    void applyTheme();
    void fitHeight();

    int width_;
};

} // namespace ambrel
