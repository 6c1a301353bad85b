#pragma once

#include <QString>

namespace ambrel {

/// What belongs to the running program: where its helpers lie, and which version it is.
/// Needs the QCoreApplication.
struct ApplicationBundle {
    /// The absolute path of the folder that holds the executable, links resolved.
    static QString executableFolder();

    /// For example "0.1.0".
    static QString shortVersion();
};

} // namespace ambrel
