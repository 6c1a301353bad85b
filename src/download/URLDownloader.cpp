#include "download/URLDownloader.h"

#include <utility>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "download/DownloadError.h"
#include "platform/desktop/ApplicationBundle.h"
#include "platform/desktop/MainQueue.h"
#include "platform/desktop/WrittenFiles.h"

namespace ambrel {
namespace {

/// More than anyone starts; threads are created on demand.
constexpr int kMostAtOnce = 64;

/// The path of `name` in `folder`; throws `missing` if it is not an executable file.
QString executable(const QString& folder, const QString& name, DownloadError::Reason missing) {
    const QFileInfo file(folder + QLatin1Char('/') + name);
    if (!file.isFile() || !file.isExecutable())
        throw DownloadError(missing);
    return file.filePath();
}

/// Empty for invalid UTF-8.
QString trimmedText(const std::string& bytes) {
    const QByteArrayView view(bytes);
    return view.isValidUtf8() ? QString::fromUtf8(view).trimmed() : QString();
}

/// Blocks until the helper has ended.
ChildProcess::Outcome fetch(const ChildProcess::Command& command,
                            const std::filesystem::path& directory, const std::stop_token& stop) {
    if (stop.stop_requested())
        return {.wasStopped = true, .output = {}, .errors = {}};
    WrittenFiles written(directory);
    auto outcome = ChildProcess::run(command, stop, written);
    if (outcome.wasStopped)
        written.remove();
    return outcome;
}

} // namespace

URLDownloader& URLDownloader::shared() {
    static URLDownloader downloader(MainQueue::shared(), ApplicationBundle::executableFolder());
    return downloader;
}

URLDownloader::URLDownloader(MainQueue& home, const QString& folder)
    : folder_(folder), helpers_(home, kMostAtOnce) {}

URLDownloader::~URLDownloader() {
    stop();
}

void URLDownloader::stop() {
    stop_.request_stop();
}

QUrl URLDownloader::reportedFile(const ChildProcess::Outcome& outcome) {
    if (!outcome.isSuccess())
        throw DownloadError::processFailed(
            outcome.signal != 0 ? outcome.signal : outcome.exitStatus, trimmedText(outcome.errors));
    const QString path = trimmedText(outcome.output);
    if (path.isEmpty())
        throw DownloadError(DownloadError::Reason::noOutputFile);
    // To QDir, a path that begins with a colon is absolute: one of the program's own resources.
    const bool isAbsolute = path.startsWith(QLatin1Char('/'));
    return QUrl::fromLocalFile(
        QDir::cleanPath(isAbsolute ? path : QDir::currentPath() + QLatin1Char('/') + path));
}

ChildProcess::Command URLDownloader::command(const QString& folder, const QUrl& source,
                                             const QUrl& directory) {
    const QString address = source.toString(QUrl::FullyEncoded);
    if (!source.isValid() || address.startsWith(QLatin1Char('-')))
        throw DownloadError(DownloadError::Reason::notAWebAddress);
    if (folder.isEmpty())
        throw DownloadError(DownloadError::Reason::helperNotFound);
    const QString helper =
        executable(folder, QStringLiteral("my-executable"), DownloadError::Reason::helperNotFound);
    const QString ffmpeg =
        executable(folder, QStringLiteral("ffmpeg"), DownloadError::Reason::ffmpegNotFound);
    const QString fileNames = directory.adjusted(QUrl::StripTrailingSlash).toLocalFile() +
                              QStringLiteral("/%(title)s.%(ext)s");

    ChildProcess::Command command{QFile::encodeName(helper).toStdString(), {}};
    for (const QString& argument :
         {QStringLiteral("-x"), QStringLiteral("--no-playlist"), QStringLiteral("--audio-format"),
          QStringLiteral("m4a"), QStringLiteral("--ffmpeg-location"), ffmpeg,
          QStringLiteral("--print"), QStringLiteral("after_move:filepath"), QStringLiteral("-o"),
          fileNames, address})
        command.arguments.push_back(QFile::encodeName(argument).toStdString());
    return command;
}

QCoro::Task<QUrl> URLDownloader::download(QUrl source, QUrl directory) {
    auto work = [command = command(folder_, source, directory), stop = stop_.get_token(),
                 folder = QFile::encodeName(directory.toLocalFile()).toStdString()] {
        return fetch(command, folder, stop);
    };
    auto running = helpers_.run(std::move(work));
    const ChildProcess::Outcome outcome = co_await running;
    if (outcome.wasStopped)
        throw BackgroundQueue::Ended();
    co_return reportedFile(outcome);
}

} // namespace ambrel
