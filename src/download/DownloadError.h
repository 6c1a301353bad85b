#pragma once

#include <exception>
#include <string>

#include <QString>

namespace ambrel {

/// Why a download failed.
class DownloadError : public std::exception {
  public:
    enum class Reason {
        helperNotFound, ///< no executable file next to the program
        ffmpegNotFound,
        noOutputFile,   ///< the helper reported success, but no path
        notAWebAddress, ///< or it would be taken for an option
    };

    explicit DownloadError(Reason reason);

    /// `exitCode`: the helper's exit status, or the signal that ended it. `standardError`: its
    /// output there, trimmed.
    static DownloadError processFailed(int exitCode, const QString& standardError);

    /// A text for the user, in UTF-8.
    const char* what() const noexcept override { return description_.c_str(); }

  private:
    explicit DownloadError(const QString& description) : description_(description.toStdString()) {}

    std::string description_;
};

} // namespace ambrel
