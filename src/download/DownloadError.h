#pragma once

#include <exception>
#include <string>

#include <QString>

namespace ambrel {

/// Why a download failed.
class DownloadError : public std::exception {
  public:
    enum class Reason {
        processFailed,  ///< the helper ended with a non-zero status, or by a signal
        helperNotFound, ///< no executable file next to the program
        ffmpegNotFound,
        noOutputFile,   ///< the helper reported success, but no path
        notAWebAddress, ///< or it would be taken for an option
    };

    /// For every reason but processFailed.
    explicit DownloadError(Reason reason);

    /// `exitCode`: the helper's exit status, or the signal that ended it. `standardError`: its
    /// output there, trimmed.
    static DownloadError processFailed(int exitCode, const QString& standardError);

    Reason reason() const { return reason_; }

    /// A text for the user; what() is the same in UTF-8.
    QString errorDescription() const { return QString::fromStdString(description_); }
    const char* what() const noexcept override { return description_.c_str(); }

  private:
    DownloadError(Reason reason, const QString& description);

    Reason reason_;
    std::string description_;
};

} // namespace ambrel
