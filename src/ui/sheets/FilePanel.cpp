#include "ui/sheets/FilePanel.h"

#include <QDir>

namespace ambrel {
namespace {

QString nearestExisting(const QString& folder) {
    QString path = QDir::cleanPath(QDir::home().absoluteFilePath(folder));
    while (!QDir(path).exists() && path != QDir::rootPath())
        path = QFileInfo(path).path();
    return path;
}

} // namespace

FilePanel::FilePanel(const QString& title, const QUrl& folder, QWidget* parent)
    : QFileDialog(parent, title) {
    setAcceptMode(QFileDialog::AcceptOpen);
    setSupportedSchemes({QStringLiteral("file")});
    setDirectory(nearestExisting(folder.toLocalFile()));
    connect(this, &QFileDialog::accepted, this, [this] {
        const QList<QUrl> urls = selectedUrls();
        if (!urls.isEmpty() && urls.first().isLocalFile())
            Q_EMIT chosen(urls.first());
    });
}

} // namespace ambrel
