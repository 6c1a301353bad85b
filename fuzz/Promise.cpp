#include <cstdio>
#include <cstdlib>

#include "Targets.h"

void ambrel::fuzz::promise(bool kept, const char* what) {
    if (kept)
        return;
    std::fprintf(stderr, "promised, but not so: %s\n", what);
    std::abort();
}
