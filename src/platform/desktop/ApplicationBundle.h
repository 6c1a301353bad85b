#pragma once

#include <QString>
#include <QUrl>

namespace ambrel {

/// Facts about the running program: where its helpers are, and its version. Requires the
/// QCoreApplication.
struct ApplicationBundle {
    /// The absolute path of the executable's folder, symbolic links resolved.
    static QString executableFolder();

    /// The name by which desktops know the program: that of its desktop entry and its icon.
    static QString identifier();

    /// For example "0.1.0".
    static QString shortVersion();

    /// The donation page; empty if the packager set none.
    static QUrl donationPage();
};

} // namespace ambrel
