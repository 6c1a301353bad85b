#include "platform/desktop/KeyCode.h"

#include <QKeyEvent>
#include <QTest>

using namespace ambrel;

class KeyCodeTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void physicalKeyDecides() {
        struct Case {
            quint32 scanCode; // as X11 and Wayland report it
            int qtKey;
            int code; // 0: none of ours
        };
        for (const Case& c : {
                 Case{65, Qt::Key_Space, 49}, Case{27, Qt::Key_R, 15}, Case{46, Qt::Key_L, 37},
                 Case{113, Qt::Key_Left, 123}, Case{114, Qt::Key_Right, 124},
                 Case{116, Qt::Key_Down, 125}, Case{111, Qt::Key_Up, 126},
                 Case{27, Qt::Key_P, 15},                           // R's key with Dvorak
                 Case{27, 0x041a, 15},                              // and with a Cyrillic layout
                 Case{32, Qt::Key_R, 0},                            // O's key with Dvorak
                 Case{83, Qt::Key_Left, 0},                         // on the number pad
                 Case{0, Qt::Key_Left, 123}, Case{0, Qt::Key_A, 0}, // without a scan code
             }) {
            const QKeyEvent event(QEvent::KeyPress, c.qtKey, Qt::ControlModifier, c.scanCode, 0, 0);
            const auto found = keyCodeOf(event);
            QCOMPARE(found ? int(*found) : 0, c.code);
        }
    }
};

QTEST_GUILESS_MAIN(KeyCodeTest)
#include "KeyCodeTest.moc"
