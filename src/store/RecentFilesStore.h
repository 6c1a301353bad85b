#pragma once

#include <QList>
#include <QUrl>

namespace ambrel {

class Preferences;

/// The recent files, newest first, under "recentFiles": at most ten paths, no duplicates. Files
/// that no longer exist stay in the list. Main thread only.
class RecentFilesStore {
  public:
    explicit RecentFilesStore(Preferences& defaults);

    static RecentFilesStore& shared();

    /// The current list; empty if the stored value is not a list of strings.
    QList<QUrl> all() const;

    /// Makes the file the newest entry; an eleventh is removed.
    void push(const QUrl& file);

    void clear();

  private:
    Preferences& defaults_;
};

} // namespace ambrel
