#pragma once

#include <atomic>
#include <stdexcept>

#include <dlfcn.h>

namespace ambrel {

/// A C function of a library that is loaded at the first call to one of its functions: for a
/// library that takes longer to load than all else that the program's first window needs.
/// `Function` is the declared type. Callable from any thread; throws std::runtime_error if the
/// library, or the function in it, is missing. A library once loaded stays.
template <typename Function> class LateFunction {
  public:
    constexpr LateFunction(const char* library, const char* name)
        : library_(library), name_(name) {}

    template <typename... Arguments> auto operator()(Arguments... arguments) {
        Function* function = function_.load(std::memory_order_acquire);
        if (!function)
            function_.store(function = find(), std::memory_order_release);
        return function(arguments...);
    }

  private:
    Function* find() const {
        void* library = dlopen(library_, RTLD_LAZY);
        void* function = library ? dlsym(library, name_) : nullptr;
        if (!function)
            throw std::runtime_error(dlerror());
        return reinterpret_cast<Function*>(function);
    }

    const char* library_;
    const char* name_;
    std::atomic<Function*> function_ = nullptr;
};

} // namespace ambrel
