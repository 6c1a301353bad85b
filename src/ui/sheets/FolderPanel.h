#pragma once

#include "ui/sheets/FilePanel.h"

namespace ambrel {

/// The desktop's dialog for choosing a folder.
class FolderPanel : public FilePanel {
    Q_OBJECT

  public:
    FolderPanel(const QUrl& folder, QWidget* parent);
};

} // namespace ambrel
