// The entry of libFuzzer, compiled once for each target.

#include <cstddef>

#include "Targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ambrel::fuzz::AMBREL_FUZZ_TARGET({data, size});
    return 0;
}
