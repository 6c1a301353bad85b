#pragma once

#include <QLineEdit>
#include <QPushButton>

#include "support/TestWindow.h"

namespace ambrel::test {

/// The window with a file open, and its controls as a user finds them.
struct Practice : TestWindow {
    Practice() { showFile(); }

    QLineEdit* field(const QString& name) const { return control<QLineEdit>(name); }
    QPushButton* button(const QString& name) const { return control<QPushButton>(name); }

    /// A screen reader's name may be that of a title too.
    template <typename Control> Control* control(const QString& name) const {
        for (Control* candidate : window.findChildren<Control*>())
            if (candidate->accessibleName() == name && candidate->isVisible())
                return candidate;
        return nullptr;
    }

    void click(const QString& name) const {
        QTest::mouseClick(control<QWidget>(name), Qt::LeftButton);
    }

    /// Clicks into the field and types.
    QLineEdit* beginTyping(const QString& name, const QString& text) const {
        QLineEdit* where = field(name);
        QTest::mouseClick(where, Qt::LeftButton);
        QTest::keyClicks(where, text);
        return where;
    }

    /// And then Return, another control or Escape.
    void type(const QString& name, const QString& text, Qt::Key end = Qt::Key_Return) const {
        QLineEdit* where = beginTyping(name, text);
        if (end == Qt::Key_Tab)
            button(u"Fit Region"_qs)->setFocus(Qt::TabFocusReason);
        else
            QTest::keyClick(where, end);
    }
};

} // namespace ambrel::test
