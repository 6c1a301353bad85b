#pragma once

#include <memory>

#include <QTemporaryDir>

#include "platform/store/Preferences.h"
#include "store/SettingsStore.h"

namespace ambrel::test {

/// An empty settings store in a folder of its own, for as long as it lives.
class TemporarySettings {
  public:
    SettingsStore& store() { return store_; }

  private:
    QTemporaryDir folder_;
    Preferences preferences_{folder_.filePath(QStringLiteral("preferences.sqlite")).toStdString()};
    SettingsStore store_{preferences_};
};

} // namespace ambrel::test
