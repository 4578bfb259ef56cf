// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFolderLocks.h"

#include "KVFileName.h"

#include <QCoreApplication>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

std::unique_ptr<KVFolderLocks> KVFolderLocks::acquire(const QStringList &photoPaths,
                                                      std::chrono::milliseconds wait,
                                                      QString *error,
                                                      const std::function<bool()> &stop) {
    std::set<QByteArray> folders;
    for (const QString &path : photoPaths) {
        const QByteArray native = KVFileName::encode(path);
        const qsizetype slash = native.lastIndexOf('/');
        if (slash >= 0)
            folders.insert(slash == 0 ? QByteArray("/") : native.left(slash));
    }
    std::unique_ptr<KVFolderLocks> locks(new KVFolderLocks);
    const auto deadline = std::chrono::steady_clock::now() + wait;
    for (const QByteArray &folder : folders) {
        const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd == -1)
            continue; // a folder that is gone has no photos to protect
        locks->m_descriptors.push_back(fd);
        for (;;) {
            if (::flock(fd, LOCK_EX | LOCK_NB) == 0)
                break;
            const bool busy = errno == EWOULDBLOCK || errno == EINTR;
            if (!busy)
                break; // a file system without locks: nothing to wait for
            if ((stop && stop()) || std::chrono::steady_clock::now() >= deadline) {
                if (error)
                    *error = QCoreApplication::translate(
                                 "KVFolderLocks",
                                 "Another run is changing the photos in %1. Try again when it "
                                 "has finished.")
                                 .arg(KVFileName::decode(folder));
                return nullptr;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    return locks;
}

KVFolderLocks::~KVFolderLocks() {
    for (const int fd : m_descriptors)
        ::close(fd);
}
