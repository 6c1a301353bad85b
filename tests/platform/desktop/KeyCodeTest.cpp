#include "platform/desktop/KeyCode.h"

#include <QKeyEvent>
#include <QTest>

using namespace ambrel;

class KeyCodeTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void physicalKeyDecides_data() {
        QTest::addColumn<quint32>("scanCode"); // as X11 and Wayland report it
        QTest::addColumn<int>("qtKey");
        QTest::addColumn<int>("code"); // 0: none of ours
        QTest::newRow("space") << 65u << int(Qt::Key_Space) << 49;
        QTest::newRow("r") << 27u << int(Qt::Key_R) << 15;
        QTest::newRow("l") << 46u << int(Qt::Key_L) << 37;
        QTest::newRow("left") << 113u << int(Qt::Key_Left) << 123;
        QTest::newRow("right") << 114u << int(Qt::Key_Right) << 124;
        QTest::newRow("down") << 116u << int(Qt::Key_Down) << 125;
        QTest::newRow("up") << 111u << int(Qt::Key_Up) << 126;
        QTest::newRow("r, where Dvorak has p") << 27u << int(Qt::Key_P) << 15;
        QTest::newRow("r, on a Cyrillic layout") << 27u << 0x041a << 15;
        QTest::newRow("o, where Dvorak has r") << 32u << int(Qt::Key_R) << 0;
        QTest::newRow("left on the number pad") << 83u << int(Qt::Key_Left) << 0;
        QTest::newRow("left, without a scan code") << 0u << int(Qt::Key_Left) << 123;
        QTest::newRow("a, without a scan code") << 0u << int(Qt::Key_A) << 0;
    }

    void physicalKeyDecides() {
        QFETCH(quint32, scanCode);
        QFETCH(int, qtKey);
        QFETCH(int, code);
        const QKeyEvent event(QEvent::KeyPress, qtKey, Qt::ControlModifier, scanCode, 0, 0);
        const auto found = keyCodeOf(event);
        QCOMPARE(found ? int(*found) : 0, code);
    }
};

QTEST_GUILESS_MAIN(KeyCodeTest)
#include "KeyCodeTest.moc"
