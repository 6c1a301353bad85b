#pragma once

#include <QList>
#include <QUrl>

namespace ambrel {

class Preferences;

/// The files that were opened last, newest first, under "recentFiles": at most ten paths, none
/// twice. A file that has gone stays in the list. Main thread only.
class RecentFilesStore {
  public:
    explicit RecentFilesStore(Preferences& defaults);

    static RecentFilesStore& shared();

    /// As stored now; empty when what is stored is no list of texts.
    QList<QUrl> all() const;

    /// Makes the file the newest entry; the eleventh drops out.
    void push(const QUrl& file);

    void clear();

  private:
    Preferences& defaults_;
};

} // namespace ambrel
