#include "ui/sheets/DownloadFolderRow.h"

#include "app/FolderText.h"
#include "store/DownloadSettingsStore.h"
#include "ui/controls/PushButton.h"
#include "ui/look/PlainText.h"
#include "ui/look/TextLabel.h"
#include "ui/sheets/FolderPanel.h"
#include "ui/sheets/SheetBlocker.h"

namespace ambrel {

DownloadFolderRow::DownloadFolderRow(DownloadSettingsStore& settings, Theme::TextStyle style,
                                     Qt::Alignment alignment, QWidget* parent)
    : ControlRow(8, parent), settings_(settings),
      label_(new TextLabel(style, Theme::TextColour::secondary)),
      change_(new PushButton(QStringLiteral("Change…"))) {
    label_->setAccessibleDescription(QStringLiteral("Download folder"));
    label_->setElideMode(Qt::ElideLeft);
    label_->setAlignment(alignment | Qt::AlignVCenter);
    add(label_, 1);
    add(change_);
    connect(change_, &PushButton::clicked, this, &DownloadFolderRow::chooseFolder);
    showFolder();
}

void DownloadFolderRow::resetFolder() {
    settings_.resetDownloadDirectory();
    showFolder();
}

void DownloadFolderRow::setChangeEnabled(bool enabled) {
    change_->setEnabled(enabled);
}

void DownloadFolderRow::chooseFolder() {
    if (panel_)
        return panel_->activateWindow();
    panel_ = new FolderPanel(folder_, this);
    connect(panel_, &FolderPanel::chosen, this, [this](const QUrl& folder) {
        settings_.setDownloadDirectory(folder);
        showFolder();
    });
    SheetBlocker::present(panel_, window());
}

void DownloadFolderRow::showFolder() {
    folder_ = settings_.downloadDirectory();
    label_->setText(folderText(folder_));
    label_->setToolTip(plainToolTip(folder_.toLocalFile()));
}

} // namespace ambrel
