#pragma once

#include <QString>

class QWindow;

namespace ambrel {

/// What the desktop gave this program when it was started, by which a window may come to the front:
/// an XDG activation token, or an X11 startup notification's identifier. Call before creating the
/// QGuiApplication, which takes it from the environment.
QString startToken();

/// Brings a shown window to the front, also from the taskbar, and gives it the keyboard: what the
/// user asked for by starting another program, which passed on its token. Without a token, or with
/// a wrong one, the desktop may decide to only draw attention to the window. Main thread only.
void bringToFront(QWindow& window, const QString& token);

} // namespace ambrel
