#pragma once

#include <vector>

#include <QString>
#include <QStringList>

namespace ambrel {

/// The complete text of the user guide.
struct HelpSection {
    QString title;
    QStringList lines;
};

struct HelpShortcut {
    QString keys;
    QString description;
};

const std::vector<HelpSection>& helpSections();
const std::vector<HelpShortcut>& helpShortcuts();

} // namespace ambrel
