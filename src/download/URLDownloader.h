#pragma once

#include <stop_token>

#include <QCoroTask>
#include <QString>
#include <QUrl>

#include "platform/desktop/BackgroundQueue.h"
#include "platform/desktop/ChildProcess.h"

namespace ambrel {

class MainQueue;

/// Fetches the sound of a web address into a folder: runs the download helper, which lies beside
/// the program together with the ffmpeg it converts with, and reports the file that the helper
/// names.
///
/// Main thread only; a helper is waited for on a background thread of its own, so that one download
/// never waits for another. There is no time limit and no way to cancel one of them.
class URLDownloader {
  public:
    /// The one beside the running program.
    static URLDownloader& shared();

    /// `folder` holds the helper, "my-executable", and "ffmpeg"; empty when it is not known. `home`
    /// outlives the downloader.
    URLDownloader(MainQueue& home, const QString& folder);

    /// Stops what is running and waits for its end, at most 0.6 s.
    ~URLDownloader();

    /// The address goes to the helper as it is, whatever its scheme. Gives the URL of the file that
    /// the helper printed, without a look at whether there is one.
    ///
    /// Throws DownloadError; std::system_error when the helper cannot be started;
    /// BackgroundQueue::Ended when the downloader ends first.
    QCoro::Task<QUrl> download(QUrl source, QUrl directory);

    /// For the end of the program: ends every helper with all that it started, and of what they
    /// wrote into their folders removes everything. Returns at once. The downloads never report,
    /// and no other can be started.
    void stop();

  private:
    QString helperDirectory() const;
    ChildProcess::Command command(const QUrl& source, const QUrl& directory) const;

    QString folder_;
    std::stop_source stop_;
    BackgroundQueue helpers_;
};

} // namespace ambrel
