// Qt starts processes by clone() with the memory shared, as vfork() does. ThreadSanitizer takes
// that for a fork of a process with several threads and stops watching the parent as if that were
// the child: it then misses races, makes some up, and ends the test at the next new thread. So with
// it, and only then, clone() is the C library's own.
#if defined(__SANITIZE_THREAD__)

#include <cstdarg>

extern "C" int __clone(int (*run)(void*), void* stack, int flags, void* argument, ...);

extern "C" int clone(int (*run)(void*), void* stack, int flags, void* argument, ...) {
    va_list more;
    va_start(more, argument);
    void* parentId = va_arg(more, void*);
    void* threadStorage = va_arg(more, void*);
    void* childId = va_arg(more, void*);
    va_end(more);
    return __clone(run, stack, flags, argument, parentId, threadStorage, childId);
}

#endif
