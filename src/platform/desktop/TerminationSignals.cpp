#include "platform/desktop/TerminationSignals.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace ambrel {
namespace {

std::atomic<int> wakeDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");

/// Async-signal-safe: no allocation, no lock, errno preserved.
void wakeMainLoop(int) {
    const int saved = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(wakeDescriptor, &one, sizeof one);
    errno = saved;
}

int newDescriptor() {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return descriptor;
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> requested)
    : requested_(std::move(requested)),
      notifier_(newDescriptor(), QSocketNotifier::Read), handled_{{{SIGTERM, {}},
                                                                   {SIGINT, {}},
                                                                   {SIGHUP, {}}}} {
    wakeDescriptor = int(notifier_.socket());
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] { deliver(); });

    struct sigaction action = {};
    action.sa_handler = wakeMainLoop;
    action.sa_flags = SA_RESTART;
    for (auto& [number, former] : handled_) {
        ::sigaction(number, nullptr, &former);
        if (former.sa_handler != SIG_IGN)
            ::sigaction(number, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals() {
    for (const auto& [number, former] : handled_)
        ::sigaction(number, &former, nullptr);
    notifier_.setEnabled(false);
    ::close(wakeDescriptor.exchange(-1));
}

void TerminationSignals::deliver() {
    std::uint64_t count = 0;
    if (::read(int(notifier_.socket()), &count, sizeof count) == sizeof count)
        requested_();
}

} // namespace ambrel
