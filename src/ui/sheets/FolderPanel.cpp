#include "ui/sheets/FolderPanel.h"

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

FolderPanel::FolderPanel(const QUrl& folder, QWidget* parent)
    : QFileDialog(parent, QStringLiteral("Download Folder")) {
    setFileMode(QFileDialog::Directory);
    setAcceptMode(QFileDialog::AcceptOpen);
    setOption(QFileDialog::ShowDirsOnly);
    setSupportedSchemes({QStringLiteral("file")});
    setLabelText(QFileDialog::Accept, QStringLiteral("Select"));
    setDirectory(nearestExisting(folder.toLocalFile()));
    connect(this, &QFileDialog::accepted, this, [this] {
        const QList<QUrl> chosen = selectedUrls();
        if (!chosen.isEmpty() && chosen.first().isLocalFile())
            Q_EMIT folderChosen(chosen.first());
    });
}

} // namespace ambrel
