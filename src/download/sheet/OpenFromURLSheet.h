#pragma once

#include <functional>

#include <QCoroTask>
#include <QDialog>
#include <QUrl>

class QBoxLayout;
class QLineEdit;

namespace ambrel {

class DownloadFolderRow;
class DownloadSettingsStore;
class ErrorText;
class PushButton;
class Spinner;
class URLDownloader;

/// Asks for a web address, downloads its audio into a folder that can be changed here, and passes
/// the file to its owner. Errors are shown in the sheet, where the input can then be corrected.
/// During a download nothing can be changed and the sheet stays open, unless the application quits.
/// Main thread only.
///
/// An address on the clipboard is filled in and selected when the sheet opens.
class OpenFromURLSheet : public QDialog {
    Q_OBJECT

  public:
    /// `onLoad` is called with the file, `onCancel` when the user cancels; the owner then closes
    /// the sheet. Downloader and settings must outlive it.
    OpenFromURLSheet(URLDownloader& downloader, DownloadSettingsStore& settings,
                     std::function<void(const QUrl& file)> onLoad, std::function<void()> onCancel,
                     QWidget* parent = nullptr);

    /// The web address that `text` consists of; empty if it is anything else.
    static QString webAddressIn(const QString& text);

    /// Puts the address into the field, selected; no effect if it is empty.
    void fillIn(const QString& address);

    void reject() override;

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void addRows(QBoxLayout& column);
    bool canSubmit() const;
    void startDownload();
    QCoro::Task<> perform(QUrl source);
    void setDownloading(bool isDownloading);
    void setErrorMessage(const QString& message);
    void fitHeight();

    URLDownloader& downloader_;
    std::function<void(const QUrl&)> onLoad_;
    std::function<void()> onCancel_;
    bool isDownloading_ = false;

    QLineEdit* address_;
    DownloadFolderRow* folder_;
    ErrorText* error_;
    PushButton* cancel_;
    Spinner* spinner_;
    PushButton* download_;
};

} // namespace ambrel
