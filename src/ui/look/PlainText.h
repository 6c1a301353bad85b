#pragma once

#include <QString>

namespace ambrel {

/// Escapes `text` for a label, button or menu item, where "&" would mark a mnemonic.
QString withoutMnemonics(QString text);

/// Escapes `text` for a tooltip, which would interpret markup.
QString plainToolTip(const QString& text);

} // namespace ambrel
