#pragma once

#include <span>

#include "DeviceTrial.h"

namespace ambrel::test {

/// A way in which devices come and go.
struct DeviceCase {
    const char* name;
    int parts; ///< that a trial's time is divided into
    void (*run)(DeviceTrial&);
};

std::span<const DeviceCase> deviceCases();

} // namespace ambrel::test
