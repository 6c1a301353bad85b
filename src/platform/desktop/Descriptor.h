#pragma once

#include <utility>

#include <unistd.h>

namespace ambrel {

/// Owns a file descriptor and closes it. A closed one is -1, which poll() ignores.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }

    void close() {
        if (isOpen())
            ::close(std::exchange(number_, -1));
    }

  private:
    int number_ = -1;
};

} // namespace ambrel
