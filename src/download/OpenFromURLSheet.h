#pragma once

#include <functional>

#include <QCoroTask>
#include <QDialog>
#include <QPointer>
#include <QUrl>

class QBoxLayout;
class QLineEdit;

namespace ambrel {

class DownloadSettingsStore;
class ErrorText;
class FolderLabel;
class FolderPanel;
class PushButton;
class Spinner;
class URLDownloader;

/// Asks for a web address, downloads its sound into a folder that can be changed here, and hands
/// the file to its owner. What went wrong is told in the sheet, which then is as it was before, to
/// be corrected. While a download runs, nothing can be changed and the sheet does not close, unless
/// the whole program does. Main thread only.
///
/// An address on the clipboard is there already when the sheet opens, selected, to be taken with
/// Return or typed over.
class OpenFromURLSheet : public QDialog {
    Q_OBJECT

  public:
    /// `onLoad` is called with the file, `onCancel` when the user leaves; the owner then closes the
    /// sheet. Downloader and settings outlive it.
    OpenFromURLSheet(URLDownloader& downloader, DownloadSettingsStore& settings,
                     std::function<void(const QUrl& file)> onLoad, std::function<void()> onCancel,
                     QWidget* parent = nullptr);

    void reject() override;

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void addRows(QBoxLayout& column);
    void takeAddressFromClipboard();
    bool canSubmit() const;
    void startDownload();
    QCoro::Task<> perform(QUrl source);
    void setDownloading(bool isDownloading);
    void setErrorMessage(const QString& message);
    void chooseDirectory();
    void fitHeight();

    URLDownloader& downloader_;
    DownloadSettingsStore& settings_;
    std::function<void(const QUrl&)> onLoad_;
    std::function<void()> onCancel_;
    QUrl downloadDirectory_;
    bool isDownloading_ = false;

    QLineEdit* address_;
    FolderLabel* folder_;
    PushButton* change_;
    ErrorText* error_;
    PushButton* cancel_;
    Spinner* spinner_;
    PushButton* download_;
    QPointer<FolderPanel> folderPanel_;
};

} // namespace ambrel
