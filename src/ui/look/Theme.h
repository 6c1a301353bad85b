#pragma once

#include <type_traits>

#include <QColor>
#include <QFont>
#include <QMarginsF>
#include <QObject>
#include <QPalette>
#include <QRect>

class QLayout;
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

    static QColor textColour(const QPalette& palette, TextColour colour);
    static QColor panelBackground(const QPalette& palette);
    static QColor divider(const QPalette& palette);
    static QColor accent(const QPalette& palette);

  Q_SIGNALS:
    /// The desktop's body font or palette has changed.
    void changed();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    explicit Theme(QObject* application);
};

} // namespace ambrel
