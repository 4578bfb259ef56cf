// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

#include <map>
#include <sys/types.h>
#include <unordered_map>
#include <vector>

class KVInotifyWatcher;

// The folders the file coordinator watches, by path (private helper of KVFileCoordinator; not
// thread-safe: the coordinator's mutex guards it). A folder is watched while files of
// presenters are in it, while it is the parent of such a folder (so that renaming the folder is
// seen as a pair of directory moves), while it is the Trash, and while it is the nearest
// existing ancestor of a Trash that does not exist yet. One inotify watch serves every path of
// one folder: the kernel gives paths through symbolic links the same watch descriptor.
// Nothing is held open, so watched folders never keep a volume from being unmounted.
class KVWatchedFolders {
public:
    explicit KVWatchedFolders(KVInotifyWatcher &watcher);
    KVWatchedFolders(const KVWatchedFolders &) = delete;
    KVWatchedFolders &operator=(const KVWatchedFolders &) = delete;

    // Counts one presenter's file in the folder; watches the folder if it is not watched (also
    // when an earlier attempt failed or the kernel dropped the watch), and its parent.
    void retain(const QString &folder);
    void release(const QString &folder);
    bool hasPresenters(const QString &folder) const;

    // Gives the Trash role to `trash` and the ancestor role to `ancestor` (either may be empty)
    // and takes them from every other folder. Answers whether `trash` is watched.
    bool assignTrashRoles(const QString &trash, const QString &ancestor);

    // The paths by which the folder of a watch is known; empty for a watch no longer known
    // (its events are stale).
    std::vector<QString> pathsOf(int wd) const;
    bool isTrashAncestor(int wd) const;

    // The kernel dropped the watch (the folder was deleted or unmounted): its paths stay known,
    // unwatched, until retain() or assignTrashRoles() watches them again. Answers whether a
    // Trash role was on it.
    bool forget(int wd);
    // The folder of the watch was moved: the paths that no longer lead to it stop using the
    // watch (their folders count as unwatched). Answers whether a Trash role was on them.
    bool detachMovedPaths(int wd);

    // Diagnostics gathered since the last call, to be logged outside the coordinator's lock.
    std::vector<QString> takeMessages();

private:
    struct Folder {
        int wd = -1;
        int presenters = 0;
        int watchedChildren = 0; // folders with presenters directly inside this one
        bool trash = false;
        bool trashAncestor = false;
    };
    struct Watch {
        dev_t device = 0;
        ino_t inode = 0;
        std::vector<QString> paths;
    };

    void watch(const QString &path, Folder &folder);
    void unalias(const QString &path, int wd);
    void releaseIfUnused(const QString &path);

    KVInotifyWatcher &m_watcher;
    std::map<QString, Folder> m_folders;
    std::unordered_map<int, Watch> m_watches;
    std::vector<QString> m_messages;
};
