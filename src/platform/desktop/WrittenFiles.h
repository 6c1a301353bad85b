#pragma once

#include <ctime>
#include <filesystem>
#include <map>
#include <utility>

#include <sys/types.h>

#include "platform/desktop/Descriptor.h"

namespace ambrel {

/// Finds out which files in a folder were written by certain processes: every file that one of them
/// was seen to hold open for writing, and every file created since the watch began that one was
/// seen to read. Files are identified by device and inode, because names may change and say nothing
/// about who wrote them.
///
/// The system reports that a file was created, but not by whom. So the open files of the processes
/// (/proc/PID/fd) are checked whenever something in the folder is opened or created (inotify), and
/// several times a second. A file written and closed again between two checks is missed and stays,
/// which is the lesser evil. (Filtering system calls would catch it, but then the processes could
/// not gain privileges, which some packages need to start.)
///
/// One thread at a time. Never throws: what cannot be seen is treated as absent.
class WrittenFiles {
  public:
    /// The folder need not exist yet.
    explicit WrittenFiles(std::filesystem::path folder);

    /// Poll this for reading and call look() when ready; -1 if there is nothing to poll.
    int events() const { return events_.number(); }

    /// Checks all processes below `ancestor`, except `ancestor` itself.
    void look(pid_t ancestor);

    /// Removes the files found that are now in the folder or below it, under any name.
    void remove();

  private:
    using Identity = std::pair<dev_t, ino_t>;

    void watchFolder();
    void lookAt(pid_t process);
    void note(const std::filesystem::path& open);
    bool isInFolder(const std::filesystem::path& file) const;
    bool isMadeSince(const Descriptor& file) const;
    void forgetDeleted();

    std::filesystem::path folder_; ///< symbolic links resolved, once it exists
    timespec start_{};
    Descriptor events_;
    bool isWatching_ = false;
    /// Opened with O_PATH: keeps the inode number from being reused, and tells where the file is
    /// now.
    std::map<Identity, Descriptor> files_;
};

} // namespace ambrel
