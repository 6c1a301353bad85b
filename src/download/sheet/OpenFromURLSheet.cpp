#include "download/sheet/OpenFromURLSheet.h"

#include <algorithm>
#include <utility>

#include <QClipboard>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPointer>
#include <QScreen>
#include <QVBoxLayout>

#include "app/TypedNumber.h"
#include "download/URLDownloader.h"
#include "platform/desktop/ClipboardOwner.h"
#include "ui/controls/PushButton.h"
#include "ui/look/ErrorText.h"
#include "ui/look/Spinner.h"
#include "ui/look/TextLabel.h"
#include "ui/sheets/DownloadFolderRow.h"
#include "ui/sheets/SheetBlocker.h"

namespace ambrel {
namespace {

constexpr int kWidth = 440;
constexpr int kPadding = 20;

/// No address is so long. Much longer texts take seconds to lay out, in some alphabets.
constexpr int kLongestAddress = 8000;

/// Invalid for text that is not an address, or that begins with "-", which the helper would take
/// for an option.
QUrl addressFrom(const QString& text) {
    const QString trimmed = trimmedBlanks(text);
    const bool isWhole = text.size() <= kLongestAddress;
    return isWhole && !trimmed.startsWith(QLatin1Char('-')) ? QUrl(trimmed) : QUrl();
}

/// A field or row with its label above.
QVBoxLayout* labelled(const QString& label) {
    auto* stack = new QVBoxLayout;
    Theme::space(stack, 4);
    stack->addWidget(
        new TextLabel(label, Theme::TextStyle::subheadline, Theme::TextColour::secondary));
    return stack;
}

} // namespace

OpenFromURLSheet::OpenFromURLSheet(URLDownloader& downloader, DownloadSettingsStore& settings,
                                   std::function<void(const QUrl&)> onLoad,
                                   std::function<void()> onCancel, QWidget* parent)
    : QDialog(parent), downloader_(downloader), onLoad_(std::move(onLoad)),
      onCancel_(std::move(onCancel)), address_(new QLineEdit),
      folder_(new DownloadFolderRow(settings, Theme::TextStyle::callout, Qt::AlignLeft)),
      error_(new ErrorText(kWidth - 2 * kPadding)),
      cancel_(new PushButton(QStringLiteral("Cancel"))), spinner_(new Spinner(16)),
      download_(new PushButton(QStringLiteral("Download & Open"), PushButton::Prominence::filled)) {
    setWindowTitle(QStringLiteral("Open from URL"));
    address_->setAccessibleName(QStringLiteral("URL"));
    address_->setMaxLength(kLongestAddress + 1); // one that was cut is none
    Theme::showPlaceholder(address_, QStringLiteral("https://example.com/song.mp3"));
    download_->setDefault(true);
    auto* column = new QVBoxLayout(this);
    addRows(*column);
    connect(address_, &QLineEdit::textChanged, this,
            [this] { download_->setEnabled(canSubmit()); });
    connect(cancel_, &PushButton::clicked, this, &OpenFromURLSheet::reject);
    connect(download_, &PushButton::clicked, this, &OpenFromURLSheet::startDownload);
    Theme::follow(this, &OpenFromURLSheet::fitHeight);
    setErrorMessage({});
    setDownloading(false);
    if (clipboardOwnerAnswers(QClipboard::Clipboard))
        fillIn(webAddressIn(QGuiApplication::clipboard()->text()));
}

void OpenFromURLSheet::addRows(QBoxLayout& column) {
    Theme::space(&column, 16, {kPadding, kPadding, kPadding, kPadding});
    column.addWidget(new TextLabel(QStringLiteral("Open from URL"), Theme::TextStyle::headline));

    QVBoxLayout* address = labelled(QStringLiteral("URL"));
    address->addWidget(address_);
    column.addLayout(address);

    QVBoxLayout* folder = labelled(QStringLiteral("Download folder"));
    folder->addWidget(folder_);
    column.addLayout(folder);

    column.addWidget(error_);

    auto* buttons = new QHBoxLayout;
    Theme::space(buttons, 8);
    buttons->addWidget(cancel_);
    buttons->addStretch(1);
    buttons->addWidget(spinner_);
    buttons->addWidget(download_);
    column.addLayout(buttons);
}

QString OpenFromURLSheet::webAddressIn(const QString& text) {
    const QString word = text.trimmed();
    const bool isOneWord =
        word.size() <= kLongestAddress &&
        std::none_of(word.begin(), word.end(), [](QChar c) { return c.isSpace(); });
    const bool isAddress =
        isOneWord && (word.startsWith(QLatin1String("http://"), Qt::CaseInsensitive) ||
                      word.startsWith(QLatin1String("https://"), Qt::CaseInsensitive));
    return isAddress ? word : QString();
}

void OpenFromURLSheet::fillIn(const QString& address) {
    if (address.isEmpty())
        return;
    address_->setText(address);
    address_->end(false);
    address_->home(true); // selected, and scrolled to its start, which names the site
}

bool OpenFromURLSheet::canSubmit() const {
    return !isDownloading_ && addressFrom(address_->text()).isValid();
}

void OpenFromURLSheet::startDownload() {
    if (canSubmit())
        perform(addressFrom(address_->text()));
}

QCoro::Task<> OpenFromURLSheet::perform(QUrl source) {
    // The sheet may be gone when the download finishes.
    const QPointer self(this);
    setErrorMessage({});
    setDownloading(true);
    QUrl file;
    QString failure;
    try {
        auto downloading = downloader_.download(source, folder_->folder());
        file = co_await downloading;
    } catch (const BackgroundQueue::Ended&) {
        co_return;
    } catch (const std::exception& error) {
        failure = QString::fromUtf8(error.what());
    }
    if (!self)
        co_return;
    setDownloading(false);
    if (file.isEmpty())
        setErrorMessage(failure);
    else
        onLoad_(file);
}

void OpenFromURLSheet::setDownloading(bool isDownloading) {
    isDownloading_ = isDownloading;
    address_->setEnabled(!isDownloading);
    folder_->setChangeEnabled(!isDownloading);
    cancel_->setEnabled(!isDownloading);
    download_->setEnabled(canSubmit());
    spinner_->setVisible(isDownloading);
    if (!isDownloading)
        address_->setFocus();
}

/// None for an empty one.
void OpenFromURLSheet::setErrorMessage(const QString& message) {
    error_->setMessage(message);
    error_->setVisible(!message.isEmpty());
    fitHeight();
}

/// After growing, the sheet must stay above the lower edge of the screen, where its buttons are.
void OpenFromURLSheet::fitHeight() {
    layout()->activate();
    setFixedSize(Theme::windowSize({kWidth, 0}, screen()).width(), layout()->sizeHint().height());
    const QRect room = screen()->availableGeometry();
    if (const int below = frameGeometry().bottom() - room.bottom(); isVisible() && below > 0)
        move(x(), std::max(room.top(), y() - below));
}

/// Cancel, Escape, and the close button of the title bar.
void OpenFromURLSheet::reject() {
    if (!isDownloading_)
        onCancel_();
}

/// A request not made by the user comes from quitting, which nothing may delay.
void OpenFromURLSheet::closeEvent(QCloseEvent* event) {
    if (event->spontaneous())
        QDialog::closeEvent(event);
    else
        event->accept();
}

} // namespace ambrel
