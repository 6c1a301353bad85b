#include "ui/controls/FolderLabel.h"

#include "app/FolderText.h"
#include "ui/controls/PlainText.h"

namespace ambrel {

FolderLabel::FolderLabel(Theme::TextStyle style, QWidget* parent)
    : TextLabel(style, Theme::TextColour::secondary, parent) {
    setAccessibleDescription(QStringLiteral("Download folder"));
    setElideMode(Qt::ElideLeft);
}

void FolderLabel::setFolder(const QUrl& folder) {
    setText(folderText(folder));
    setToolTip(plainToolTip(folder.toLocalFile()));
}

} // namespace ambrel
