#include "support/TestWindow.h"
#include "ui/window/RecentFilesMenu.h"

using namespace ambrel;
using test::activate;
using Field = AppState::Field;
using Window = test::TestWindow;

/// What the keys do, and what the lists of recent files show.
class MenusAndKeysWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aKeyActsWhateverHasTheFocusAndSwitchesOnce() {
        test::Practice w;
        QWidget other;
        const auto changesBy = [&](Qt::Key key, Field field) {
            int changes = 0;
            const auto counting =
                connect(w.state.get(), &AppState::changed, this,
                        [&](Field changed) { changes += changed == field ? 1 : 0; });
            QWindow* active = QApplication::activeWindow()->windowHandle();
            QTest::keyClick(active, key, Qt::ControlModifier);
            QKeyEvent held(QEvent::KeyPress, key, Qt::ControlModifier, {}, true);
            QCoreApplication::sendEvent(active, &held);
            disconnect(counting);
            return changes;
        };
        w.beginTyping(u"Start seconds"_qs, u"12"_qs);
        for (QWidget* window : {static_cast<QWidget*>(&w.window), &other}) {
            activate(*window);
            w.state->setPlaybackPosition(2);
            QCOMPARE(changesBy(Qt::Key_R, Field::playbackPosition), 1);
            QCOMPARE(changesBy(Qt::Key_L, Field::loopEnabled), 1);
            QCOMPARE(changesBy(Qt::Key_Right, Field::speed), 2);
            QCOMPARE(changesBy(Qt::Key_Down, Field::pitch), 2);
        }
        QCOMPARE(w.field(u"Start seconds"_qs)->text(), u"12"_qs);
    }

    void recentMenusShowTheStoredList() {
        Window w;
        w.showFile();
        auto* header = w.find(u"Recent"_qs);
        QVERIFY(!header->isEnabled());
        // Another copy of the program adds to the list.
        for (const auto& path : {u"/b/Rock & Roll.mp3"_qs, u"/a/take.wav"_qs})
            w.settings.recentFiles().push(QUrl::fromLocalFile(path));
        const auto menus = w.window.findChildren<RecentFilesMenu*>();
        QCOMPARE(menus.size(), 2); // of the header and of the menu bar
        for (RecentFilesMenu* menu : menus) {
            Q_EMIT menu->aboutToShow();
            QCOMPARE(menu->actions().at(1)->text(), u"Rock && Roll.mp3"_qs);
            auto* spoken = QAccessible::queryAccessibleInterface(menu)->child(1);
            QCOMPARE(spoken->text(QAccessible::Name), u"Rock & Roll.mp3"_qs);
            QCOMPARE(spoken->text(QAccessible::Description), u"/b"_qs);
        }
        QVERIFY(header->isEnabled());
    }

    void theWelcomeScreenListsRecentFiles() {
        Window w;
        w.settings.recentFiles().push(QUrl::fromLocalFile(u"/b/R&B take.wav"_qs));
        w.settings.recentFiles().push(QUrl::fromLocalFile(u"/a/take.wav"_qs));
        QWidget other;
        activate(other);
        activate(w.window); // from elsewhere, where another copy may have run
        QTRY_VERIFY(w.find(u"/b"_qs));
        QTest::keyClick(w.window.windowHandle(), Qt::Key_B, Qt::AltModifier);
        QVERIFY(!w.find<QAbstractButton>(u"/b"_qs)->isDown());
        auto* row = QAccessible::queryAccessibleInterface(w.find(u"/b"_qs));
        QCOMPARE(row->text(QAccessible::Name), u"R&B take.wav"_qs);
        QCOMPARE(row->role(), QAccessible::ListItem);
        QCOMPARE(row->parent()->role(), QAccessible::List);
        QCOMPARE(row->parent()->indexOfChild(row), 1);

        w.find(u"/a"_qs)->setFocus(Qt::TabFocusReason);
        w.press(Qt::Key_Down);
        w.press(Qt::Key_Tab); // leaves the list
        QCOMPARE(QApplication::focusWidget(), w.find(u"Clear Recents"_qs));
        w.press(Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(QApplication::focusWidget(), w.find(u"/b"_qs));
        w.press(Qt::Key_Return);
        QTRY_COMPARE(w.graph->opened, 1);
        QTRY_VERIFY(w.state->loadingState().isIdle()); // it is not there, yet stays in the list
        QCOMPARE(w.settings.recentFiles().all().size(), 2);
    }
};

QTEST_MAIN(MenusAndKeysWindowTest)
#include "MenusAndKeysWindowTest.moc"
