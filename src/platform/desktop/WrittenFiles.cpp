#include "platform/desktop/WrittenFiles.h"

#include <array>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>

namespace ambrel {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kWorthALook = IN_CREATE | IN_OPEN | IN_MOVED_TO | IN_ONLYDIR;

template <typename Visit> void forEachIn(const fs::path& folder, Visit visit) {
    std::error_code gone; // the process may have ended meanwhile
    for (auto entry = fs::directory_iterator(folder, gone);
         !gone && entry != fs::directory_iterator(); entry.increment(gone))
        visit(entry->path());
}

fs::path procFolder(pid_t process) {
    return "/proc/" + std::to_string(process);
}

void appendChildren(pid_t process, std::vector<pid_t>& children) {
    forEachIn(procFolder(process) / "task", [&](const fs::path& thread) {
        std::ifstream list(thread / "children");
        pid_t child = 0;
        while (list >> child)
            children.push_back(child);
    });
}

/// The path of an open file; empty if unknown.
fs::path target(const fs::path& link) {
    std::error_code gone;
    return fs::read_symlink(link, gone);
}

} // namespace

WrittenFiles::WrittenFiles(fs::path folder)
    : folder_(std::move(folder)), events_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    ::clock_gettime(CLOCK_REALTIME_COARSE, &start_); // the clock used for file dates
    watchFolder();
}

void WrittenFiles::watchFolder() {
    std::error_code missing;
    const fs::path resolved = fs::canonical(folder_, missing);
    if (missing)
        return;
    folder_ = resolved;
    isWatching_ = true;
    if (::inotify_add_watch(events_.number(), folder_.c_str(), kWorthALook) < 0)
        events_.close();
}

void WrittenFiles::look(pid_t ancestor) {
    std::array<char, 16384> events;
    while (::read(events_.number(), events.data(), events.size()) > 0) {
    }
    if (!isWatching_)
        watchFolder();
    forgetDeleted();
    std::vector<pid_t> processes;
    appendChildren(ancestor, processes);
    for (std::size_t i = 0; i < processes.size(); ++i) {
        const pid_t process = processes[i];
        lookAt(process);
        appendChildren(process, processes);
    }
}

void WrittenFiles::lookAt(pid_t process) {
    forEachIn(procFolder(process) / "fd", [this](const fs::path& open) { note(open); });
}

void WrittenFiles::note(const fs::path& open) {
    if (!isInFolder(target(open)))
        return;
    struct stat link {};
    struct stat file {};
    Descriptor reference(::open(open.c_str(), O_PATH | O_CLOEXEC));
    if (::lstat(open.c_str(), &link) != 0 || ::fstat(reference.number(), &file) != 0)
        return;
    const bool isWritten = (link.st_mode & S_IWUSR) != 0; // the link's mode tells the open mode
    if (S_ISREG(file.st_mode) && (isWritten || isMadeSince(reference)))
        files_.try_emplace({file.st_dev, file.st_ino}, std::move(reference));
}

bool WrittenFiles::isInFolder(const fs::path& file) const {
    return isWatching_ && file.native().starts_with((folder_ / "").native());
}

bool WrittenFiles::isMadeSince(const Descriptor& file) const {
    struct statx status {};
    if (::statx(file.number(), "", AT_EMPTY_PATH, STATX_BTIME, &status) != 0 ||
        (status.stx_mask & STATX_BTIME) == 0)
        return false;
    return std::tuple(status.stx_btime.tv_sec, long(status.stx_btime.tv_nsec)) >=
           std::tuple(start_.tv_sec, start_.tv_nsec);
}

/// Frees the disk space of files that the processes have deleted.
void WrittenFiles::forgetDeleted() {
    std::erase_if(files_, [](const auto& entry) {
        struct stat status {};
        return ::fstat(entry.second.number(), &status) != 0 || status.st_nlink == 0;
    });
}

void WrittenFiles::remove() {
    for (const auto& [identity, reference] : files_) {
        const fs::path file = target("/proc/self/fd/" + std::to_string(reference.number()));
        struct stat status {};
        if (isInFolder(file) && ::lstat(file.c_str(), &status) == 0 &&
            Identity(status.st_dev, status.st_ino) == identity)
            ::unlink(file.c_str());
    }
    files_.clear();
}

} // namespace ambrel
