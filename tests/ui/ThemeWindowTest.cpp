#include <QApplication>
#include <QTest>

#include "ui/controls/PushButton.h"
#include "ui/controls/Symbols.h"
#include "ui/controls/TextLabel.h"
#include "ui/controls/Theme.h"

using namespace ambrel;

class ThemeWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void textAndLengthsGrowWithTheBodyFontAtOnce() {
        const TextLabel title(QStringLiteral("Ambrel"), Theme::TextStyle::largeTitle);
        struct Case {
            double body, title;
            int length;
        };
        // A smaller font shrinks no control.
        for (const Case& c : {Case{10, 20, 44}, Case{15, 30, 66}, Case{8, 16, 44}}) {
            QFont font = QApplication::font();
            font.setPointSizeF(c.body);
            QApplication::setFont(font);
            QCOMPARE(title.font().pointSizeF(), c.title);
            QCOMPARE(Theme::length(44), c.length);
        }
    }

    void everySymbolTakesTheColourOfThePaletteOfTheMoment() {
        for (const Symbol symbol : {Symbol::play, Symbol::pause, Symbol::chevronLeft,
                                    Symbol::chevronRight, Symbol::waveform}) {
            const QIcon icon = symbolIcon(symbol);
            const auto has = [&icon](QIcon::Mode mode, const QColor& colour) {
                const QImage image = icon.pixmap(QSize(24, 24), mode).toImage();
                for (int i = 0; i < 24 * 24; ++i)
                    if (image.pixelColor(i % 24, i / 24) == colour)
                        return true;
                return false;
            };
            for (const QColor colour : {QColor(Qt::white), QColor(Qt::darkBlue)}) {
                QPalette palette;
                palette.setColor(QPalette::Active, QPalette::ButtonText, colour);
                palette.setColor(QPalette::Disabled, QPalette::ButtonText, Qt::red);
                QApplication::setPalette(palette);
                QVERIFY2(has(QIcon::Normal, colour), qPrintable(QString::number(int(symbol))));
                QVERIFY2(has(QIcon::Disabled, Qt::red), qPrintable(QString::number(int(symbol))));
            }
        }
    }

    void noButtonLooksSmallerThanItIs() {
        PushButton button(QStringLiteral("Open File…"), PushButton::Prominence::prominent);
        const QImage image = button.grab().toImage();
        const QColor accent = Theme::accent(button.palette());
        for (const QPoint edge : {QPoint(image.width() / 2, 0), QPoint(0, image.height() / 2)})
            QCOMPARE(image.pixelColor(edge), accent);
    }

    void textIsShownAsItIs() {
        const QString text = QStringLiteral("<b>Rock & Roll</b>");
        TextLabel label(text, Theme::TextStyle::headline);
        QCOMPARE(label.textFormat(), Qt::PlainText);
        PushButton button(text);
        QCOMPARE(button.accessibleName(), text);
        QVERIFY(button.shortcut().isEmpty());
    }
};

QTEST_MAIN(ThemeWindowTest)
#include "ThemeWindowTest.moc"
