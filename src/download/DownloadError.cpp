#include "download/DownloadError.h"

namespace ambrel {
namespace {

QString descriptionOf(DownloadError::Reason reason) {
    using Reason = DownloadError::Reason;
    switch (reason) {
    case Reason::helperNotFound:
        return QStringLiteral("Download helper not found inside the app bundle.");
    case Reason::ffmpegNotFound:
        return QStringLiteral("ffmpeg not found inside the app bundle.");
    case Reason::noOutputFile:
        return QStringLiteral("Download succeeded but no output file path was reported.");
    case Reason::notAWebAddress:
        return QStringLiteral("This is not a web address.");
    }
    return {};
}

} // namespace

DownloadError::DownloadError(Reason reason) : DownloadError(descriptionOf(reason)) {}

DownloadError DownloadError::processFailed(int exitCode, const QString& standardError) {
    const QString description =
        standardError.isEmpty() ? QStringLiteral("Download failed (exit code %1).").arg(exitCode)
                                : QStringLiteral("Download failed: ") + standardError;
    return DownloadError(description);
}

} // namespace ambrel
