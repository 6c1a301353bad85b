#pragma once

#include <QPushButton>
#include <QRadioButton>

#include "support/TestWindow.h"
#include "ui/settings/SettingsWindow.h"

namespace ambrel::test {

inline QString nameOf(QWidget* widget) {
    return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
}

inline void activate(QWidget& window) {
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window))
        qFatal("the window is not active");
}

/// The program with its settings window, which a test opens and uses as a user would.
struct OpenSettings : TestWindow {
    SettingsWindow* panel = nullptr;

    OpenSettings() { open(); }

    void open() {
        activate(window);
        QTest::keyClick(window.windowHandle(), Qt::Key_Comma, Qt::ControlModifier);
        if (shownWindows().size() != 1)
            qFatal("there is not one settings window");
        panel = shownWindows().first();
        activate(*panel);
    }

    void reopen(Qt::Key close = Qt::Key_Escape, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(panel, close, modifiers);
        open();
    }

    static QList<SettingsWindow*> shownWindows() {
        QList<SettingsWindow*> found;
        for (QWidget* candidate : QApplication::topLevelWidgets())
            if (auto* settings = qobject_cast<SettingsWindow*>(candidate);
                settings && settings->isVisible())
                found << settings;
        return found;
    }

    template <typename Control> Control* control(const QString& name) const {
        return control<Control>(name, *panel);
    }

    template <typename Control>
    static Control* control(const QString& name, const QWidget& within) {
        for (Control* candidate : within.findChildren<Control*>())
            if (nameOf(candidate) == name && candidate->isVisible())
                return candidate;
        return nullptr;
    }

    void click(const QString& button) const { click(button, *panel); }
    static void click(const QString& button, const QWidget& within) {
        QTest::mouseClick(control<QPushButton>(button, within), Qt::LeftButton);
    }

    QRadioButton* choice(const QString& group, const QString& preset) const {
        return control<QRadioButton>(preset, *control<QWidget>(group));
    }

    void choose(const QString& group, const QString& preset) const {
        QTest::mouseClick(choice(group, preset), Qt::LeftButton);
    }

    QString figure(const QString& description) const {
        for (const auto* label : panel->findChildren<QLabel*>())
            if (label->accessibleDescription() == description)
                return label->text();
        return {};
    }

    Preferences::Value stored(const QString& key) {
        return settings.preferences().value(key).value();
    }
};

} // namespace ambrel::test
