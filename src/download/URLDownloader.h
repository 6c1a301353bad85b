#pragma once

#include <stop_token>

#include <QCoroTask>
#include <QString>
#include <QUrl>

#include "platform/desktop/BackgroundQueue.h"
#include "platform/desktop/ChildProcess.h"

namespace ambrel {

class MainQueue;

/// Downloads the audio of a web address into a folder: runs the download helper, installed next to
/// the program with the ffmpeg that it uses, and returns the file that the helper names.
///
/// Main thread only; each helper runs and is waited for on its own background thread. There is no
/// timeout, and a single download cannot be cancelled.
class URLDownloader {
  public:
    /// The instance that uses the helper next to the running program.
    static URLDownloader& shared();

    /// `folder` contains the helper, "my-executable", and "ffmpeg"; empty if unknown. `home` must
    /// outlive the downloader.
    URLDownloader(MainQueue& home, const QString& folder);

    /// Stops all downloads and waits for them, at most 0.6 s.
    ~URLDownloader();

    /// Passes the address to the helper unchanged, whatever its scheme. Returns the URL of the file
    /// that the helper printed, without checking that it exists.
    ///
    /// Throws DownloadError; std::system_error if the helper cannot be started;
    /// BackgroundQueue::Ended if the downloader is destroyed first.
    QCoro::Task<QUrl> download(QUrl source, QUrl directory);

    /// For quitting: ends every helper with all its child processes, and removes every file they
    /// wrote into their folders. Returns at once. Running downloads never report, and no new one
    /// can be started.
    void stop();

    /// What download() runs: the helper in `folder`. Throws DownloadError.
    static ChildProcess::Command command(const QString& folder, const QUrl& source,
                                         const QUrl& directory);

    /// The file that the helper named. Throws DownloadError if it named none, or failed.
    static QUrl reportedFile(const ChildProcess::Outcome& outcome);

  private:
    QString folder_;
    std::stop_source stop_;
    BackgroundQueue helpers_;
};

} // namespace ambrel
