// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVWatchedFolders.h"

#include "KVFileName.h"
#include "KVInotifyWatcher.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <utility>

namespace {

// One mask for every watch: adding a watch to a folder already watched replaces its mask.
// (IN_IGNORED, sent when a folder is deleted or unmounted, needs no bit.)
constexpr uint32_t kWatchMask = IN_MOVED_FROM | IN_MOVED_TO | IN_CREATE | IN_MOVE_SELF | IN_ONLYDIR;

QString parentOf(const QString &folder) {
    const qsizetype slash = folder.lastIndexOf(QLatin1Char('/'));
    return slash <= 0 ? QStringLiteral("/") : folder.left(slash);
}

bool statFolder(const QString &path, struct stat *info) {
    return stat(KVFileName::encode(path).constData(), info) == 0 && S_ISDIR(info->st_mode);
}

} // namespace

KVWatchedFolders::KVWatchedFolders(KVInotifyWatcher &watcher)
    : m_watcher(watcher) {
}

void KVWatchedFolders::retain(const QString &folder) {
    Folder &entry = m_folders[folder]; // std::map: references stay valid as entries are added
    if (entry.presenters++ == 0 && folder != QLatin1String("/")) {
        const QString parentPath = parentOf(folder);
        Folder &parent = m_folders[parentPath];
        ++parent.watchedChildren;
        if (parent.wd < 0)
            watch(parentPath, parent);
    }
    if (entry.wd < 0)
        watch(folder, entry);
}

void KVWatchedFolders::release(const QString &folder) {
    const auto found = m_folders.find(folder);
    if (found == m_folders.end() || found->second.presenters == 0)
        return;
    if (--found->second.presenters == 0 && folder != QLatin1String("/")) {
        const auto parent = m_folders.find(parentOf(folder));
        if (parent != m_folders.end() && parent->second.watchedChildren > 0) {
            --parent->second.watchedChildren;
            releaseIfUnused(parent->first);
        }
    }
    releaseIfUnused(folder);
}

bool KVWatchedFolders::hasPresenters(const QString &folder) const {
    const auto found = m_folders.find(folder);
    return found != m_folders.end() && found->second.presenters > 0;
}

bool KVWatchedFolders::assignTrashRoles(const QString &trash, const QString &ancestor) {
    std::vector<QString> demoted;
    for (auto &[path, folder] : m_folders) {
        if (folder.trash && path != trash) {
            folder.trash = false;
            demoted.push_back(path);
        }
        if (folder.trashAncestor && path != ancestor) {
            folder.trashAncestor = false;
            demoted.push_back(path);
        }
    }
    bool trashWatched = false;
    if (!trash.isEmpty()) {
        Folder &folder = m_folders[trash];
        folder.trash = true;
        if (folder.wd < 0)
            watch(trash, folder);
        trashWatched = folder.wd >= 0;
    }
    if (!ancestor.isEmpty()) {
        Folder &folder = m_folders[ancestor];
        folder.trashAncestor = true;
        if (folder.wd < 0)
            watch(ancestor, folder);
    }
    // After the new roles are watched, so that a folder keeping its watch is never re-added.
    for (const QString &path : demoted)
        releaseIfUnused(path);
    return trashWatched;
}

std::vector<QString> KVWatchedFolders::pathsOf(int wd) const {
    const auto found = m_watches.find(wd);
    return found == m_watches.end() ? std::vector<QString>() : found->second.paths;
}

bool KVWatchedFolders::isTrashAncestor(int wd) const {
    for (const QString &path : pathsOf(wd)) {
        const auto folder = m_folders.find(path);
        if (folder != m_folders.end() && folder->second.trashAncestor)
            return true;
    }
    return false;
}

bool KVWatchedFolders::forget(int wd) {
    const auto found = m_watches.find(wd);
    if (found == m_watches.end())
        return false;
    bool trashRole = false;
    for (const QString &path : found->second.paths) {
        const auto folder = m_folders.find(path);
        if (folder == m_folders.end())
            continue;
        folder->second.wd = -1;
        trashRole = trashRole || folder->second.trash || folder->second.trashAncestor;
    }
    m_watches.erase(found);
    return trashRole;
}

bool KVWatchedFolders::detachMovedPaths(int wd) {
    const auto found = m_watches.find(wd);
    if (found == m_watches.end())
        return false;
    const Watch watched = found->second;
    bool trashRole = false;
    for (const QString &path : watched.paths) {
        struct stat info;
        if (statFolder(path, &info) && info.st_dev == watched.device &&
            info.st_ino == watched.inode)
            continue;
        const auto folder = m_folders.find(path);
        if (folder != m_folders.end()) {
            folder->second.wd = -1;
            trashRole = trashRole || folder->second.trash || folder->second.trashAncestor;
        }
        unalias(path, wd);
    }
    return trashRole;
}

std::vector<QString> KVWatchedFolders::takeMessages() {
    return std::exchange(m_messages, {});
}

void KVWatchedFolders::watch(const QString &path, Folder &folder) {
    struct stat info;
    if (!statFolder(path, &info))
        return; // not there (yet): tried again by the next retain()
    const int wd = m_watcher.addWatch(path, kWatchMask);
    if (wd < 0) {
        if (errno != ENOENT)
            m_messages.push_back(QStringLiteral("File coordinator: cannot watch %1 (%2)")
                                     .arg(path, QString::fromLocal8Bit(strerror(errno))));
        return;
    }
    const auto existing = m_watches.find(wd);
    Watch &watched = m_watches[wd];
    if (existing == m_watches.end()) {
        watched.device = info.st_dev;
        watched.inode = info.st_ino;
    }
    if (std::find(watched.paths.begin(), watched.paths.end(), path) == watched.paths.end())
        watched.paths.push_back(path);
    folder.wd = wd;
}

void KVWatchedFolders::unalias(const QString &path, int wd) {
    const auto found = m_watches.find(wd);
    if (found == m_watches.end())
        return;
    std::erase(found->second.paths, path);
    if (!found->second.paths.empty())
        return;
    m_watcher.removeWatch(wd);
    m_watches.erase(found);
}

void KVWatchedFolders::releaseIfUnused(const QString &path) {
    const auto found = m_folders.find(path);
    if (found == m_folders.end())
        return;
    const Folder &folder = found->second;
    if (folder.presenters > 0 || folder.watchedChildren > 0 || folder.trash || folder.trashAncestor)
        return;
    unalias(path, folder.wd);
    m_folders.erase(found);
}
