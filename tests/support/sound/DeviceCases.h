#pragma once

#include <span>

#include "support/sound/DeviceOrdeal.h"

namespace ambrel::test {

/// A way in which devices come and go.
struct DeviceCase {
    const char* name;
    int parts; ///< that an ordeal's time is divided into
    void (*run)(DeviceOrdeal&);
};

std::span<const DeviceCase> deviceCases();

} // namespace ambrel::test
