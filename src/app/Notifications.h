#pragma once

#include <QString>

/// The names by which the menu bar tells the main window what to do. None carries an object but
/// openRecent, whose object is the QUrl of the file.
namespace ambrel::notifications {

inline const QString openFile = QStringLiteral("AMB.openFile");
inline const QString openRecent = QStringLiteral("AMB.openRecent");
inline const QString clearRecents = QStringLiteral("AMB.clearRecents");
inline const QString stopReset = QStringLiteral("AMB.stopReset");
inline const QString toggleLoop = QStringLiteral("AMB.toggleLoop");
inline const QString decreaseSpeed = QStringLiteral("AMB.decreaseSpeed");
inline const QString increaseSpeed = QStringLiteral("AMB.increaseSpeed");
inline const QString pitchUp = QStringLiteral("AMB.pitchUp");
inline const QString pitchDown = QStringLiteral("AMB.pitchDown");
inline const QString showHelp = QStringLiteral("AMB.showHelp");
inline const QString openFromURL = QStringLiteral("AMB.openFromURL");

} // namespace ambrel::notifications
