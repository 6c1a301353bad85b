#include <QLineEdit>
#include <QRadioButton>
#include <QTest>

#include "support/TestWindow.h"
#include "ui/settings/ClearConfirmation.h"
#include "ui/settings/SettingsWindow.h"

using namespace ambrel;
using test::activate;
using test::clickIn;
using test::findIn;
using Value = Preferences::Value;

namespace {

const QString kSize = u"Size limit"_qs;
const QString kAge = u"Age limit"_qs;

/// The program with its settings window open.
struct OpenSettings : test::TestWindow {
    SettingsWindow* panel = nullptr;

    OpenSettings() { open(); }

    void open() {
        activate(window);
        QTest::keyClick(window.windowHandle(), Qt::Key_Comma, Qt::ControlModifier);
        panel = qobject_cast<SettingsWindow*>(QApplication::activeWindow());
        if (!panel)
            qFatal("the settings window is not active");
    }

    QLineEdit* field(const QString& name) const { return findIn<QLineEdit>(*panel, name); }
    QString figure(const QString& description) const {
        for (const auto* label : panel->findChildren<QLabel*>())
            if (label->accessibleDescription() == description)
                return label->text();
        return {};
    }
    QRadioButton* choice(const QString& group, const QString& preset) const {
        return findIn<QRadioButton>(*findIn(*panel, group), preset);
    }
    Value limit(const QString& group) {
        const QString key = group == kSize ? u"maxSize"_qs : u"maxAge"_qs;
        return settings.preferences().value(u"waveformCacheSettings."_qs + key).value();
    }
};

} // namespace

class SettingsWindowTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aCustomLimitIsShownRoundedDownAndTakenAtReturnIfItIsANumber() {
        OpenSettings w;
        w.settings.waveformCache().setMaxTotalBytes(104'857'601);
        w.settings.waveformCache().setMaxAgeSeconds(604'800.5);
        const SettingsWindow* first = w.panel;
        w.open();
        QCOMPARE(w.panel, first); // there is one
        const int height = first->height();
        QTest::keyClick(w.panel, Qt::Key_Escape);
        w.open();
        auto* size = w.field(u"Custom size"_qs);
        auto* age = w.field(u"Custom age"_qs);
        QCOMPARE(size->text(), u"100"_qs);
        QCOMPARE(age->text(), u"7"_qs);
        QVERIFY(w.panel->height() >= height + size->height() + age->height());
        const std::int64_t largest = 8'796'093'022'207; // in bytes the last that 64 bits hold
        for (const auto& [typed, number] : {std::pair(u"20"_qs, std::int64_t(20)),
                                            {u"0"_qs, 20},
                                            {u"-5"_qs, 20},
                                            {u"1.5"_qs, 20},
                                            {u" 30"_qs, 20},
                                            {u"+21"_qs, 21},
                                            {u"8796093022207"_qs, largest},
                                            {u"8796093022208"_qs, largest},
                                            {u"99999999999999999999"_qs, largest}}) {
            for (QLineEdit* field : {age, size}) {
                field->selectAll();
                QTest::keyClicks(field, typed);
                QTest::keyClick(field, Qt::Key_Return);
            }
            QCOMPARE(w.limit(kSize), Value(number * 1'048'576));
        }
        QAccessible::queryAccessibleInterface(age)->valueInterface()->setCurrentValue(22);
        age->setFocus(Qt::TabFocusReason);
        QTest::keyClicks(age, u"44"_qs); // without Return
        size->setFocus(Qt::TabFocusReason);
        QCOMPARE(w.limit(kAge), Value(22 * 86'400.0));
    }

    void clearHappensOnlyWhenConfirmed() {
        OpenSettings w;
        w.showFile();
        const QUrl file = *w.state->audioFileURL();
        w.settings.store().save({}, file);
        w.settings.preferences().set(u"waveformCache./a"_qs, QByteArray(1'310'720, 'x'));
        activate(w.window);
        activate(*w.panel); // which counts anew
        QTRY_COMPARE(w.figure(u"Entries"_qs), u"1"_qs);
        QCOMPARE(w.figure(u"Total size"_qs), u"1.2 MB"_qs);
        for (const Qt::Key harmless : {Qt::Key_Return, Qt::Key_Escape}) {
            clickIn(*w.panel, u"Clear Cache…"_qs);
            auto* asked = w.panel->findChild<ClearConfirmation*>();
            activate(*asked);
            QTest::keyClick(asked, harmless);
            QTRY_VERIFY(!w.panel->findChild<ClearConfirmation*>());
            QVERIFY(w.settings.store().load(file));
        }
    }

    void arrowsChooseAmongThePresets() {
        OpenSettings w;
        QTest::mouseClick(w.choice(kSize, u"Custom"_qs), Qt::LeftButton);
        w.choice(kSize, u"Custom"_qs)->setFocus(Qt::TabFocusReason);
        w.press(Qt::Key_Up);
        QCOMPARE(w.limit(kSize), Value(std::int64_t(0))); // Unlimited
        w.press(Qt::Key_Down);
        QVERIFY(
            w.choice(kSize, u"Custom"_qs)->hasFocus()); // not its field: the arrows still choose
    }
};

QTEST_MAIN(SettingsWindowTest)
#include "SettingsWindowTest.moc"
