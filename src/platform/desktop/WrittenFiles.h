#pragma once

#include <ctime>
#include <filesystem>
#include <map>
#include <utility>

#include <sys/types.h>

#include "platform/desktop/Descriptor.h"

namespace ambrel {

/// Which files of one folder some processes wrote: every file that one of them was seen to hold
/// open for writing, and every file, made since the watch began, that one of them was seen to read.
/// A file is known as itself, not by its name, which may change as often as it likes and says
/// nothing about whose it is.
///
/// The system tells an ordinary program that a file was made, but not by whom. So the open files of
/// the processes are looked at (/proc/PID/fd), whenever something in the folder is opened or made
/// (inotify) and several times a second besides. What a process opens, writes and closes again in
/// less time than a look takes, and never touches afterwards, is not noticed: it stays, which is
/// the better of the two mistakes. (A filter on system calls would see it, but takes from the
/// processes the right to gain privileges, which some packages' start needs.)
///
/// One thread at a time. Never throws: what it cannot see is not there.
class WrittenFiles {
  public:
    /// The folder need not exist yet.
    explicit WrittenFiles(std::filesystem::path folder);

    /// To be polled for reading: then a look is worth it. -1 when there is nothing to poll.
    int events() const { return events_.number(); }

    /// Looks at every process below `ancestor`, which itself is passed over.
    void look(pid_t ancestor);

    /// Removes those that lie in the folder now, or below it, under whatever name.
    void remove();

  private:
    using Identity = std::pair<dev_t, ino_t>;

    void watchFolder();
    void lookAt(pid_t process);
    void note(const std::filesystem::path& open);
    bool isInFolder(const std::filesystem::path& file) const;
    bool isMadeSince(const Descriptor& file) const;
    void forgetDeleted();

    std::filesystem::path folder_; ///< links resolved, once it exists
    timespec start_{};
    Descriptor events_;
    bool isWatching_ = false;
    /// Held by reference, neither for reading nor for writing: a number is not given to another
    /// file meanwhile, and the system tells where the file is now.
    std::map<Identity, Descriptor> files_;
};

} // namespace ambrel
