#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QPalette>

class QScreen;

namespace ambrel {

/// The look that every view shares: text styles, lengths and colours, all derived from the
/// desktop's body font and palette. Main thread only, while the QApplication lives.
///
/// Whoever keeps something derived from here (a font, a fixed size) derives it again on changed();
/// colours are best asked for with the widget's palette() at each painting.
class Theme : public QObject {
    Q_OBJECT

  public:
    enum class TextStyle {
        largeTitle,
        title,
        title2,
        headline, ///< bold
        body,
        callout,
        subheadline,
        caption,
        caption2
    };
    enum class TextColour { primary, secondary, tertiary, accent, error };

    /// Ends with the QApplication.
    static Theme& shared();

    static QFont font(TextStyle style);
    /// The same size in the desktop's fixed-width family, so that changing digits do not shift.
    static QFont monospacedFont(TextStyle style);

    /// A length in device-independent pixels that holds at the standard body font of 10 points and
    /// grows in proportion with a larger one.
    static int length(double points);

    /// A window's size by the same measure, as far as `screen` has room for it.
    static QSize windowSize(QSize points, const QScreen* screen);

    static QColor textColour(const QPalette& palette, TextColour colour);
    static QColor panelBackground(const QPalette& palette);
    static QColor divider(const QPalette& palette);
    static QColor accent(const QPalette& palette);

  Q_SIGNALS:
    /// The desktop's body font or palette is another one now.
    void changed();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    explicit Theme(QObject* application);
};

} // namespace ambrel
