#pragma once

#include <QUrl>

#include "ui/controls/TextLabel.h"

namespace ambrel {

/// The folder for downloads on one line, the user's home as "~". Of a path that is too long the end
/// is shown, and all of it in the tooltip.
class FolderLabel : public TextLabel {
    Q_OBJECT

  public:
    explicit FolderLabel(Theme::TextStyle style, QWidget* parent = nullptr);

    void setFolder(const QUrl& folder);
};

} // namespace ambrel
