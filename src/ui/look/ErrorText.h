#pragma once

#include <QTextEdit>

namespace ambrel {

/// An error message: plain, red, selectable, wrapped, and scrolling if it does not fit on the
/// screen. Of an endless one the end is shown.
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
