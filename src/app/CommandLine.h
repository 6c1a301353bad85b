#pragma once

#include <optional>
#include <string>

#include <QStringList>
#include <QUrl>

namespace ambrel {

/// What the arguments of the program ask for: `ambrel [FILE]`, `--help` or `--version`.
struct CommandLine {
    std::optional<QUrl> file; ///< a local file, with its whole path
    QString answer;           ///< to be printed instead of starting, when not empty
    QString error;            ///< one sentence, when the arguments cannot be followed

    /// `arguments` with the program's name first; a path that is not absolute starts in `folder`.
    static CommandLine parse(const QStringList& arguments, const QString& folder);
};

} // namespace ambrel
