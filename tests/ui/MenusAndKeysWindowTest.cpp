#include <functional>

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSet>
#include <QTest>

#include "support/TestWindow.h"
#include "ui/window/RecentFilesMenu.h"

using namespace ambrel;
using Window = test::TestWindow;
using Field = AppState::Field;

namespace {

QAction* itemOf(const Window& w, const QString& title) {
    for (QAction* item : w.window.findChildren<QAction*>())
        if (item->text() == title)
            return item;
    return nullptr;
}

RecentFilesMenu* openedMenu(const Window& w, const QString& title) {
    for (auto* menu : w.window.findChildren<RecentFilesMenu*>())
        if (menu->title() == title) {
            Q_EMIT menu->aboutToShow();
            return menu;
        }
    return nullptr;
}

/// As a screen reader has it: "name, description" of each item, "-" for a separator.
QStringList spoken(QMenu* menu) {
    auto* list = QAccessible::queryAccessibleInterface(menu);
    QStringList lines;
    for (int i = 0; i < list->childCount(); ++i) {
        auto* item = list->child(i);
        const QString folder = item->text(QAccessible::Description);
        lines << (item->role() == QAccessible::Separator ? u"-"_qs
                  : folder.isEmpty()                     ? item->text(QAccessible::Name)
                                     : item->text(QAccessible::Name) + u", "_qs + folder);
    }
    return lines;
}

QUrl file(const QString& path) {
    return QUrl::fromLocalFile(path);
}

} // namespace

/// What the menus and the keys do, and what the lists of recent files show.
class MenusAndKeysWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void keyAndItemDoTheSameOnce_data() {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<QString>("item");
        QTest::addColumn<Field>("field");
        QTest::addColumn<double>("value"); // of that field, after one step from 100 %, 0 cents, off
        const auto row = [](const char* name, Qt::Key key, const QString& item, Field field,
                            double value) { QTest::newRow(name) << key << item << field << value; };
        row("R", Qt::Key_R, u"Stop and Reset"_qs, Field::playbackPosition, 1);
        row("L", Qt::Key_L, u"Toggle Loop"_qs, Field::loopEnabled, 1);
        row("Left", Qt::Key_Left, u"Decrease Speed"_qs, Field::speed, 95);
        row("Right", Qt::Key_Right, u"Increase Speed"_qs, Field::speed, 105);
        row("Up", Qt::Key_Up, u"Pitch Up 1 Cent"_qs, Field::pitch, 1);
        row("Down", Qt::Key_Down, u"Pitch Down 1 Cent"_qs, Field::pitch, -1);
    }
    void keyAndItemDoTheSameOnce() {
        QFETCH(Qt::Key, key);
        QFETCH(QString, item);
        QFETCH(Field, field);
        QFETCH(double, value);
        Window w;
        w.showFile();
        QLineEdit typing(&w.window);
        typing.show();
        QLineEdit elsewhere;

        const auto acts = [&](const std::function<void()>& trigger) {
            w.state->resetToDefaults(10);
            w.state->setRegionStart(1);
            w.state->setIsPlaying(true);
            int changes = 0;
            const auto counting =
                connect(w.state.get(), &AppState::changed, this,
                        [&](Field changed) { changes += changed == field ? 1 : 0; });
            trigger();
            disconnect(counting);
            QCOMPARE(changes, 1);
            const double now = field == Field::speed              ? w.state->speed()
                               : field == Field::pitch            ? w.state->pitch()
                               : field == Field::playbackPosition ? w.state->playbackPosition()
                                                                  : w.state->loopEnabled();
            QCOMPARE(now, value);
            if (field == Field::speed)
                QCOMPARE(w.graph->rate, float(value / 100));
            if (field == Field::pitch)
                QCOMPARE(w.graph->pitch, float(value));
            QCOMPARE(w.state->isPlaying(), field != Field::playbackPosition);
        };
        const auto press = [&](QWidget& window, Qt::KeyboardModifiers more) {
            QTest::keyClick(window.windowHandle(), key, Qt::ControlModifier | more);
            QKeyEvent held(QEvent::KeyPress, key, Qt::ControlModifier | more, {}, true);
            if (field == Field::playbackPosition || field == Field::loopEnabled)
                QCoreApplication::sendEvent(window.windowHandle(), &held);
        };
        acts([&] { itemOf(w, item)->trigger(); });
        for (const auto more : {Qt::NoModifier, Qt::ShiftModifier, Qt::AltModifier})
            acts([&] { press(w.window, more); });
        typing.setFocus();
        acts([&] { press(w.window, Qt::NoModifier); });
        elsewhere.show();
        elsewhere.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&elsewhere));
        acts([&] { press(elsewhere, Qt::NoModifier); });
        QVERIFY(!itemOf(w, item)->shortcut().isEmpty());
    }

    void stepsStopAtTheirBounds() {
        Window w;
        w.state->setSpeed(7);
        w.state->setPitch(1200);
        for (int i = 0; i < 2; ++i) {
            QTest::keyClick(w.window.windowHandle(), Qt::Key_Left, Qt::ControlModifier);
            QTest::keyClick(w.window.windowHandle(), Qt::Key_Up, Qt::ControlModifier);
            QCOMPARE(w.state->speed(), 5.0);
            QCOMPARE(w.state->pitch(), 1200.0);
        }
    }

    void otherKeysReachTheirItems() {
        Window w;
        QLineEdit typing(&w.window);
        typing.show();
        typing.setFocus();
        int opened = 0;
        const auto counting =
            w.notifications.observe(u"AMB.openFile"_qs, [&](const QVariant&) { ++opened; });
        QTest::keyClick(w.window.windowHandle(), Qt::Key_R);
        QCOMPARE(typing.text(), u"r"_qs);
        QTest::keyClick(w.window.windowHandle(), Qt::Key_O, Qt::ControlModifier);
        QCOMPARE(opened, 1);
    }

    void recentMenusShowTheStoredList() {
        Window w;
        w.showFile();
        auto* header = qobject_cast<QPushButton*>(w.find(u"Recent"_qs));
        QVERIFY(!header->isEnabled());
        QCOMPARE(spoken(openedMenu(w, u"Open Recent"_qs)), QStringList(u"No Recent Files"_qs));

        // Another copy of the program adds to the list.
        for (const QString& path :
             {u"/b/Rock & Roll.mp3"_qs, u"/a <i>/take.wav"_qs, u"/b/take.wav"_qs})
            w.settings.recentFiles().push(file(path));
        const QStringList lines = {u"take.wav, /b"_qs, u"take.wav, /a <i>"_qs,
                                   u"Rock & Roll.mp3, /b"_qs, u"-"_qs, u"Clear Recents"_qs};
        QCOMPARE(spoken(openedMenu(w, u"Open Recent"_qs)), lines);
        QCOMPARE(spoken(openedMenu(w, u"Recent"_qs)), lines);
        QVERIFY(header->isEnabled());
        auto* spokenHeader = QAccessible::queryAccessibleInterface(header);
        QCOMPARE(spokenHeader->child(0)->child(0)->text(QAccessible::Name), u"take.wav"_qs);
        QCOMPARE(spokenHeader->child(0)->parent(), spokenHeader);

        itemOf(w, u"Rock && Roll.mp3"_qs)->trigger();
        QCOMPARE(w.state->audioFileURL(), file(u"/b/Rock & Roll.mp3"_qs));
        QVERIFY(!header->isEnabled()); // it loads
        w.showFile();
        itemOf(w, u"Clear Recents"_qs)->trigger();
        QVERIFY(w.settings.recentFiles().all().isEmpty() && w.state->recentFiles().isEmpty());
        QVERIFY(!header->isEnabled());
    }

    void welcomeBoxListsRecentFiles() {
        QSet<QUrl> opened; // for a moment only, as they are not there
        Window w;
        QVERIFY(!w.find(u"Clear Recents"_qs));
        w.settings.recentFiles().push(file(u"/b/R&B take.wav"_qs));
        w.settings.recentFiles().push(file(u"/a/take.wav"_qs));
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        w.window.activateWindow(); // from elsewhere, where another copy may have run
        QVERIFY(QTest::qWaitForWindowActive(&w.window));
        QTRY_VERIFY(w.find(u"/b"_qs));
        QObject::connect(w.state.get(), &AppState::changed, &w.window,
                         [&] { opened.insert(w.state->audioFileURL().value_or(QUrl())); });
        QTest::keyClick(w.window.windowHandle(), Qt::Key_B, Qt::AltModifier);
        QVERIFY(!qobject_cast<QAbstractButton*>(w.find(u"/b"_qs))->isDown());
        const auto opens = [&] {
            QTRY_VERIFY(opened.contains(file(u"/b/R&B take.wav"_qs)));
            QTRY_VERIFY(w.state->loadingState().isIdle()); // and it stays in the list
            opened.clear();
            QTRY_VERIFY(QApplication::activeWindow() && !w.window.isActiveWindow()); // the alert
            QTest::keyClick(QApplication::activeWindow(), Qt::Key_Escape);
            w.window.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&w.window));
        };
        QTest::mouseClick(w.find(u"/b"_qs), Qt::LeftButton);
        opens();
        auto* row = QAccessible::queryAccessibleInterface(w.find(u"/b"_qs));
        QCOMPARE(row->text(QAccessible::Name), u"R&B take.wav"_qs);
        QCOMPARE(row->role(), QAccessible::ListItem);
        QCOMPARE(row->parent()->role(), QAccessible::List);
        QCOMPARE(row->parent()->childCount(), 2);
        QCOMPARE(row->parent()->indexOfChild(row), 1);
        for (const Qt::Key opening : {Qt::Key_Space, Qt::Key_Return}) {
            w.find(u"/a"_qs)->setFocus(Qt::TabFocusReason);
            w.press(Qt::Key_Down);
            w.press(opening);
            opens();
        }
        w.find(u"/b"_qs)->setFocus(Qt::TabFocusReason);
        w.press(Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), w.find(u"Clear Recents"_qs));
        w.press(Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(QApplication::focusWidget(), w.find(u"/b"_qs));
        QCOMPARE(w.settings.recentFiles().all().size(), 2);
        QTest::mouseClick(w.find(u"Clear Recents"_qs), Qt::LeftButton);
        QVERIFY(!w.find(u"Clear Recents"_qs) && w.settings.recentFiles().all().isEmpty());
    }

    void comingBackToTheWindowOnlyAnEditedTextKeepsTheFocus() {
        Window w;
        w.showFile();
        QLineEdit typing(&w.window);
        typing.show();
        QWidget other;
        const auto leaveAndComeBack = [&] {
            other.show();
            other.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&other));
            w.window.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&w.window));
            w.mainQueue.async([] {});
            QCoreApplication::processEvents();
        };
        w.find(u"Fit Region"_qs)->setFocus(Qt::TabFocusReason);
        leaveAndComeBack();
        QTRY_VERIFY(w.responder->hasFocus());
        typing.setFocus();
        typing.setText(u"12"_qs);
        leaveAndComeBack();
        QVERIFY(typing.hasFocus() && typing.text() == u"12"_qs);
    }
};

QTEST_MAIN(MenusAndKeysWindowTest)
#include "MenusAndKeysWindowTest.moc"
