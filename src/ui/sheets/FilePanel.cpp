#include "ui/sheets/FilePanel.h"

#include <chrono>
#include <future>
#include <thread>

#include <QApplication>
#include <QDir>

namespace ambrel {
namespace {

constexpr std::chrono::milliseconds kPatience(300);

QString nearestExisting(const QString& folder) {
    QString path = QDir::cleanPath(QDir::home().absoluteFilePath(folder));
    while (!QDir(path).exists() && path != QDir::rootPath())
        path = QFileInfo(path).path();
    return path;
}

/// The home folder instead of one on a disk that does not answer, for which the dialog would wait.
QString answeringFolder(const QString& folder) {
    std::packaged_task<QString()> looking([folder] { return nearestExisting(folder); });
    std::future<QString> found = looking.get_future();
    std::thread(std::move(looking)).detach();
    const bool isFound = found.wait_for(kPatience) == std::future_status::ready;
    return isFound ? found.get() : QDir::homePath();
}

} // namespace

FilePanel::FilePanel(const QString& title, const QUrl& folder, QWidget* parent)
    : QFileDialog(parent, title, answeringFolder(folder.toLocalFile())) {
    setAcceptMode(QFileDialog::AcceptOpen);
    setSupportedSchemes({QStringLiteral("file")});
    connect(this, &QFileDialog::accepted, this, [this] {
        const QList<QUrl> urls = selectedUrls();
        if (!urls.isEmpty() && urls.first().isLocalFile())
            Q_EMIT chosen(urls.first());
    });
}

// Return reaches the field for the name first, and closes the dialog with the list of completions
// still open. While a list is, Qt overlooks that the window becomes active again: keys would do
// what they should, but nothing would have the focus for a screen reader.
void FilePanel::done(int result) {
    if (QWidget* completions = QApplication::activePopupWidget())
        completions->close();
    QFileDialog::done(result);
}

} // namespace ambrel
