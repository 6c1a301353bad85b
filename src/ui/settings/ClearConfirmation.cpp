#include "ui/settings/ClearConfirmation.h"

#include <QPushButton>

#include "ui/look/PlainText.h"

namespace ambrel {

ClearConfirmation::ClearConfirmation(QWidget* parent) : QMessageBox(parent) {
    setWindowTitle(QStringLiteral("Clear Cache"));
    setIcon(QMessageBox::Warning);
    setTextFormat(Qt::PlainText);
    setText(QStringLiteral("Clear all cached waveforms and saved song settings?"));
    const QString title = QStringLiteral("Clear Cache & Settings");
    QPushButton* clear = addButton(withoutMnemonics(title), QMessageBox::DestructiveRole);
    clear->setAccessibleName(title);
    setStandardButtons(QMessageBox::Cancel);
    setDefaultButton(QMessageBox::Cancel);
    setEscapeButton(QMessageBox::Cancel);
    button(QMessageBox::Cancel)->setIcon({});
    connect(clear, &QPushButton::clicked, this, &ClearConfirmation::confirmed);
}

} // namespace ambrel
