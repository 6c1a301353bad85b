#pragma once

#include <QClipboard>

namespace ambrel {

/// Whether the program from which the clipboard would have to be fetched, or with
/// QClipboard::Selection what is selected there, answers within 0.2 s. Under X11 Qt waits up to
/// 15 s for one that does not.
///
/// Main thread only, within the life of the QGuiApplication.
bool clipboardOwnerAnswers(QClipboard::Mode mode);

} // namespace ambrel
