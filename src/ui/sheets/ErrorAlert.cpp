#include "ui/sheets/ErrorAlert.h"

#include <QAbstractButton>
#include <QLabel>

namespace ambrel {
namespace {

/// Allows line breaks within words longer than a line: file names may have no spaces.
QString breakable(const QString& text) {
    constexpr int longestWord = 40;
    constexpr QChar zeroWidthSpace(0x200B);
    QString result;
    int wordLength = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        wordLength = text[i].isSpace() ? 0 : wordLength + 1;
        if (wordLength > longestWord && !text[i].isLowSurrogate()) {
            result += zeroWidthSpace;
            wordLength = 1;
        }
        result += text[i];
    }
    return result;
}

} // namespace

ErrorAlert::ErrorAlert(QWidget* parent) : QMessageBox(parent) {
    setWindowTitle(QStringLiteral("Error"));
    setIcon(QMessageBox::Critical);
    setStandardButtons(QMessageBox::Ok);
    button(QMessageBox::Ok)->setIcon({});
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
}

void ErrorAlert::setMessage(const QString& message) {
    setText(breakable(message));
    if (auto* label = findChild<QLabel*>(QStringLiteral("qt_msgbox_label")))
        label->setAccessibleName(message);
}

} // namespace ambrel
