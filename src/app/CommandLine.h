#pragma once

#include <optional>
#include <string>

#include <QStringList>
#include <QUrl>

namespace ambrel {

/// The parsed command line: `ambrel [--new-window] [FILE]`, `--help` or `--version`.
struct CommandLine {
    std::optional<QUrl> file; ///< a local file, with an absolute path
    bool newWindow = false;   ///< to be opened here, even if Ambrel already runs
    QString answer;           ///< if not empty, to be printed instead of starting
    QString error;            ///< one sentence, if the arguments are invalid

    /// `arguments` starts with the program's name; relative paths are resolved from `folder`.
    static CommandLine parse(const QStringList& arguments, const QString& folder);
};

} // namespace ambrel
