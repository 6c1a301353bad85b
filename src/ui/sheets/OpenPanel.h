#pragma once

#include "ui/sheets/FilePanel.h"

namespace ambrel {

/// The desktop's dialog for choosing an audio file.
class OpenPanel : public FilePanel {
    Q_OBJECT

  public:
    OpenPanel(const QUrl& folder, QWidget* parent);
};

} // namespace ambrel
