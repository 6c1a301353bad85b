#pragma once

#include <QUrl>

#include "ui/controls/TextLabel.h"

namespace ambrel {

/// The download folder on one line, with "~" for the home. A path that is too long shows its end,
/// and all of it in the tooltip.
class FolderLabel : public TextLabel {
    Q_OBJECT

  public:
    explicit FolderLabel(Theme::TextStyle style, QWidget* parent = nullptr);

    void setFolder(const QUrl& folder);
};

} // namespace ambrel
