#pragma once

#include <QString>
#include <QUrl>

namespace ambrel {

/// The desktop's own list of recent documents, which all of the user's programs add to and show.
struct RecentDocuments {
    /// $XDG_DATA_HOME/recently-used.xbel.
    static QString defaultPath();

    /// Whether the user lets programs add to it, as far as GNOME or KDE have been told otherwise.
    /// Asks the session bus, for at most a second: not for the main thread.
    static bool areWanted();

    /// Makes `document` the newest in the list, opened by the program of that name, which
    /// `command` starts; creates the list if there is none. All else in it stays, byte for byte,
    /// except what only this program has opened, beyond the newest 100.
    ///
    /// A list that is damaged, too large, a link or not writable is left alone. The new one takes
    /// its place at once and complete; what another program writes at the same moment may be lost,
    /// since there is no lock that all agree on. Reads and writes the disk: not for the main
    /// thread.
    static void add(const QUrl& document, const QString& program, const QString& command,
                    const QString& list = defaultPath());
};

} // namespace ambrel
