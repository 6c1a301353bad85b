#include "ui/settings/SettingsWindow.h"

#include <QShortcut>
#include <QVBoxLayout>

#include "ui/look/AccessibleFactory.h"

namespace ambrel {

SettingsWindow::SettingsWindow(QWidget* content)
    : QWidget(nullptr, Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint) {
    describeAs<SettingsWindow, QAccessible::Window>();
    setWindowTitle(QStringLiteral("Settings"));
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_QuitOnClose, false);
    auto* place = new QVBoxLayout(this);
    place->setContentsMargins(0, 0, 0, 0);
    place->setSizeConstraint(QLayout::SetFixedSize);
    place->addWidget(content);
    for (const auto& keys : {QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_W)})
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &QWidget::close);
}

void SettingsWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous())
        setFocus(); // so that no control looks selected
}

} // namespace ambrel
