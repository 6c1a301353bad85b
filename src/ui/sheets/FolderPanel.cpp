#include "ui/sheets/FolderPanel.h"

namespace ambrel {

FolderPanel::FolderPanel(const QUrl& folder, QWidget* parent)
    : FilePanel(QStringLiteral("Download Folder"), folder, parent) {
    setFileMode(QFileDialog::Directory);
    setOption(QFileDialog::ShowDirsOnly);
    setLabelText(QFileDialog::Accept, QStringLiteral("Select"));
}

} // namespace ambrel
