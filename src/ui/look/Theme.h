#pragma once

#include <type_traits>

#include <QColor>
#include <QFont>
#include <QMarginsF>
#include <QObject>
#include <QPalette>
#include <QRect>

class QLayout;
class QLineEdit;
class QScreen;

namespace ambrel {

/// The common look: text styles, lengths and colours, derived from the desktop's body font and
/// palette. Main thread only, within the life of the QApplication.
///
/// Whatever keeps a derived font or size follows the theme, see follow(). Colours are best taken
/// from the widget's palette() on each painting.
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

    /// Destroyed with the QApplication.
    static Theme& shared();

    static QFont font(TextStyle style);
    /// The same size in the desktop's fixed-width family, so that changing digits do not move.
    static QFont monospacedFont(TextStyle style);

    /// Device-independent pixels for a length given at the standard body font of 10 points; grows
    /// in proportion to a larger font.
    static int length(double points);

    /// A window's size by the same measure, limited to what fits on `screen`.
    static QSize windowSize(QSize points, const QScreen* screen);

    /// Calls `derive`, which may be a member function of `follower`, now and after each change of
    /// the desktop's body font or palette, for as long as `follower` lives.
    template <typename Follower, typename Function>
    static void follow(Follower* follower, Function derive) {
        connect(&shared(), &Theme::changed, follower, derive);
        if constexpr (std::is_member_function_pointer_v<Function>)
            (follower->*derive)();
        else
            derive();
    }

    /// A window's place, moved into `room`; smaller only if there is not enough of it.
    static QRect movedInto(const QRect& room, QRect place);

    /// Keeps a layout's spacing and margins at these lengths, as follow().
    static void space(QLayout* layout, double spacing, const QMarginsF& margins = {});

    /// Colours of texts, and of symbols and outlines. They stand out from window and panels however
    /// faint the palette's own are: on screen by 4.5 : 1 for texts and by 3 : 1 for shapes.
    static QColor textColour(const QPalette& palette, TextColour colour);
    static QColor shapeColour(const QPalette& palette, TextColour colour);
    static QColor panelBackground(const QPalette& palette);
    static QColor divider(const QPalette& palette);
    static QColor accent(const QPalette& palette);
    /// The accent as a background on which the highlighted text can be read.
    static QColor accentFace(const QPalette& palette);

    /// Gives a field's placeholder the secondary colour, as follow(): styles make it too faint, or
    /// as strong as what is typed.
    static void showPlaceholder(QLineEdit* field, const QString& text);

  Q_SIGNALS:
    /// The desktop's body font or palette has changed.
    void changed();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    explicit Theme(QObject* application);
};

} // namespace ambrel
