#include <QDesktopServices>
#include <QLineEdit>
#include <QMenu>
#include <QTest>

#include "support/OpenSettings.h"
#include "ui/controls/Theme.h"
#include "ui/settings/ClearConfirmation.h"
#include "ui/sheets/FolderPanel.h"

using namespace ambrel;
using namespace ambrel::test;
using Value = Preferences::Value;

/// The settings window itself, what it clears, and the folder for downloads.
class SettingsWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void thereIsOneWindowThatItsContentSizes() {
        OpenSettings w;
        SettingsWindow* first = w.panel;
        activate(w.window);
        QTest::mouseClick(w.find(u"Settings"_qs), Qt::LeftButton);
        QVERIFY(QTest::qWaitForWindowActive(first));
        QCOMPARE(w.shownWindows(), {first});

        const QSize before = first->size();
        QCOMPARE(before.width(), Theme::length(360));
        w.choose(u"Age limit"_qs, u"Custom"_qs);
        auto* field = w.control<QLineEdit>(u"Custom age"_qs);
        QTRY_VERIFY(first->height() >= before.height() + field->height());
        QVERIFY(field->hasFocus());
        QCOMPARE(first->width(), before.width());
        w.choose(u"Age limit"_qs, u"1 year"_qs);
        QTRY_COMPARE(first->size(), before);

        const QFont font = QApplication::font();
        QFont larger = font;
        larger.setPointSizeF(font.pointSizeF() * 1.5);
        QApplication::setFont(larger);
        QTRY_COMPARE(first->width(), Theme::length(360));
        QVERIFY(first->width() > before.width() && first->height() > before.height());
        QApplication::setFont(font);
    }

    void clearAsksFirstAndLeavesTheRest() {
        OpenSettings w;
        w.showFile();
        const QUrl file = *w.state->audioFileURL();
        w.settings.store().save({}, file);
        w.settings.preferences().set(u"waveformCache./a"_qs, QByteArray(1'310'720, 'x'));
        w.settings.recentFiles().push(file);
        activate(w.window);
        w.panel->activateWindow(); // which counts anew
        QTRY_COMPARE(w.figure(u"Entries"_qs), u"1"_qs);
        QCOMPARE(w.figure(u"Total size"_qs), u"1.2 MB"_qs);

        const auto ask = [&] {
            w.click(u"Clear Cache…"_qs);
            auto* asked = w.panel->findChild<ClearConfirmation*>();
            activate(*asked);
            return asked;
        };
        for (const Qt::Key harmless : {Qt::Key_Return, Qt::Key_Escape}) {
            auto* asked = ask();
            QCOMPARE(asked->text(), u"Clear all cached waveforms and saved song settings?"_qs);
            QTest::keyClick(asked, harmless);
            QTRY_VERIFY(!w.panel->findChild<ClearConfirmation*>());
            QVERIFY(w.settings.store().load(file));
        }
        w.click(u"Clear Cache & Settings"_qs, *ask());
        QTRY_COMPARE(w.figure(u"Entries"_qs), u"0"_qs);
        QCOMPARE(w.figure(u"Total size"_qs), u"0.0 MB"_qs);
        QVERIFY(!w.settings.store().load(file));
        QCOMPARE(w.settings.recentFiles().all(), QList<QUrl>{file});

        w.state->setPitch(100);
        QTRY_VERIFY(w.settings.store().load(file));
    }

    void folderIsChosenAndReset() {
        OpenSettings w;
        QCOMPARE(w.figure(u"Download folder"_qs), u"~/Downloads"_qs);
        QTemporaryDir home;
        const QString folder = home.filePath(u"müsic & <b>"_qs);
        QDir().mkpath(folder);
        w.settings.downloads().setDownloadDirectory(QUrl::fromLocalFile(home.filePath(u"a/b"_qs)));
        w.reopen();
        w.click(u"Change…"_qs);
        auto* chooser = w.panel->findChild<FolderPanel*>();
        activate(*chooser);
        QCOMPARE(chooser->directory().path(), home.path()); // the nearest there is
        chooser->findChild<QLineEdit*>()->setText(folder);
        w.click(u"Select"_qs, *chooser);
        QCOMPARE(w.stored(u"AMB.downloadDirectory"_qs), Value(folder));
        QCOMPARE(w.figure(u"Download folder"_qs), folder);

        w.click(u"Reset to Default"_qs);
        QVERIFY(!w.settings.preferences().value(u"AMB.downloadDirectory"_qs));
        QCOMPARE(w.figure(u"Download folder"_qs), u"~/Downloads"_qs);
    }

    void keyboardReachesEverything() {
        OpenSettings w;
        w.choose(u"Size limit"_qs, u"Custom"_qs);
        w.panel->setFocus();
        QStringList stops;
        for (int i = 0; i < 7; ++i) {
            QTest::keyClick(w.panel, Qt::Key_Tab);
            stops << nameOf(QApplication::focusWidget());
        }
        QCOMPARE(stops,
                 QStringList({u"Change…"_qs, u"Reset to Default"_qs, u"Clear Cache…"_qs,
                              u"Custom"_qs, u"Custom size"_qs, u"6 months"_qs, u"Change…"_qs}));

        w.choice(u"Size limit"_qs, u"Custom"_qs)->setFocus(Qt::TabFocusReason);
        w.press(Qt::Key_Up);
        QVERIFY(w.choice(u"Size limit"_qs, u"Unlimited"_qs)->isChecked());
        QCOMPARE(w.stored(u"waveformCacheSettings.maxSize"_qs), Value(std::int64_t(0)));
        w.press(Qt::Key_Down); // on to the custom one: the arrows still choose
        QCOMPARE(nameOf(QApplication::focusWidget()), u"Custom"_qs);

        auto* group = QAccessible::queryAccessibleInterface(w.control<QWidget>(u"Age limit"_qs));
        QCOMPARE(group->role(), QAccessible::Grouping);
        QCOMPARE(group->childCount(), 7);
        QCOMPARE(group->child(3)->role(), QAccessible::RadioButton);
        QVERIFY(group->child(3)->state().checked);
    }

    void headerAndMenuLeadHereAndToTheDonationPage() {
        const QUrl page(u"https://example.org/thanks?from=ambrel&x=%20y"_qs);
        TestWindow plain;
        QVERIFY(!plain.find(u"Donate"_qs));
        TestWindow w(page);
        QPoint last;
        for (const QString& name : {u"Settings"_qs, u"Help"_qs, u"Donate"_qs}) {
            const QPoint at = w.find(name)->mapToGlobal(QPoint());
            QVERIFY(at.x() > last.x());
            last = at;
        }
        QCOMPARE(w.find(u"Settings"_qs)->toolTip(), u"Settings (⌘,)"_qs);
        QDesktopServices::setUrlHandler(u"https"_qs, this, "open");
        QTest::mouseClick(w.find(u"Donate"_qs), Qt::LeftButton);
        QDesktopServices::unsetUrlHandler(u"https"_qs);
        QCOMPARE(opened_, page);

        const QList<QAction*> items = w.window.menuBar()->actions().first()->menu()->actions();
        QCOMPARE(items.last()->text(), u"Quit"_qs);
        QCOMPARE(items[items.size() - 2]->text(), u"Settings"_qs);
    }

  public Q_SLOTS:
    void open(const QUrl& page) { opened_ = page; }

  private:
    QUrl opened_;
};

QTEST_MAIN(SettingsWindowTest)
#include "SettingsWindowTest.moc"
