#pragma once

#include <QString>
#include <QUrl>

namespace ambrel {

/// What belongs to the running program: where its helpers lie, and which version it is.
/// Needs the QCoreApplication.
struct ApplicationBundle {
    /// The absolute path of the folder that holds the executable, links resolved.
    static QString executableFolder();

    /// For example "0.1.0".
    static QString shortVersion();

    /// Where users can thank its makers; empty when whoever packaged the program named no page.
    static QUrl donationPage();
};

} // namespace ambrel
