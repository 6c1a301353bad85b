#include <QApplication>
#include <QPainter>
#include <QTest>

#include "ui/PushButton.h"
#include "ui/Symbols.h"
#include "ui/TextLabel.h"
#include "ui/Theme.h"

using namespace ambrel;

class ThemeWindowTest : public QObject {
    Q_OBJECT

  private:
    QFont desktopFont_;
    QPalette desktopPalette_;

  private Q_SLOTS:
    void initTestCase() {
        desktopFont_ = QApplication::font();
        desktopPalette_ = QApplication::palette();
    }

    void init() {
        QFont body = desktopFont_;
        body.setPointSizeF(10);
        QApplication::setFont(body);
        QApplication::setPalette(desktopPalette_);
    }

    void textAndLengthsGrowWithTheBodyFontAtOnce() {
        TextLabel title(QStringLiteral("Ambrel"), Theme::TextStyle::largeTitle);
        QCOMPARE(title.font().pointSizeF(), 20.0);
        QCOMPARE(Theme::length(44), 44);

        QFont larger = QApplication::font();
        larger.setPointSizeF(15);
        QApplication::setFont(larger);
        QCOMPARE(title.font().pointSizeF(), 30.0);
        QCOMPARE(Theme::length(44), 66);

        larger.setPointSizeF(8);
        QApplication::setFont(larger);
        QCOMPARE(title.font().pointSizeF(), 16.0);
        QCOMPARE(Theme::length(44), 44); // a smaller font shrinks no control
    }

    void symbolsTakeTheColourOfThePaletteOfTheMoment() {
        const QIcon icon = symbolIcon(Symbol::play);
        for (const QColor colour : {QColor(Qt::white), QColor(Qt::darkBlue)}) {
            QPalette palette;
            palette.setColor(QPalette::Active, QPalette::ButtonText, colour);
            palette.setColor(QPalette::Disabled, QPalette::ButtonText, Qt::red);
            QApplication::setPalette(palette);
            const auto centre = [&icon](QIcon::Mode mode) {
                return icon.pixmap(QSize(24, 24), mode).toImage().pixelColor(12, 12);
            };
            QCOMPARE(centre(QIcon::Normal), colour);
            QCOMPARE(centre(QIcon::Disabled), QColor(Qt::red));
        }
    }

    void everySymbolIsDrawn() {
        for (const Symbol symbol : {Symbol::play, Symbol::pause, Symbol::chevronLeft,
                                    Symbol::chevronRight, Symbol::waveform}) {
            QImage image(48, 48, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            paintSymbol(painter, symbol, QRectF(0, 0, 48, 48), Qt::black);
            painter.end();
            int painted = 0;
            for (int y = 0; y < 48; ++y)
                for (int x = 0; x < 48; ++x)
                    painted += image.pixelColor(x, y).alpha() > 128 ? 1 : 0;
            QVERIFY2(painted > 100, qPrintable(QString::number(int(symbol))));
        }
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
