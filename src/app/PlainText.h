#pragma once

#include <QString>

namespace ambrel {

/// `text` as a label, button or menu item in which "&" marks a mnemonic must be given it, to show
/// it as it is.
QString withoutMnemonics(QString text);

/// `text` as a tooltip must be given it, which takes what looks like markup for markup.
QString plainToolTip(const QString& text);

} // namespace ambrel
