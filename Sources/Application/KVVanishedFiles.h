// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageFile.h"

#include <QCoreApplication>
#include <QTimer>

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class KVAppDelegate;

// Photos that vanish while the application holds them: files moved to the Trash are gathered and
// reported together at most every three seconds; an unplugged disk holds both queues back, asks
// for the disk when a run was going, and then resumes or abandons the run.
class KVVanishedFiles {
    Q_DECLARE_TR_FUNCTIONS(KVVanishedFiles)
public:
    static constexpr int checkIntervalMilliseconds = 3000;

    explicit KVVanishedFiles(KVAppDelegate &delegate);
    ~KVVanishedFiles();

    // Starts the repeating check (main thread).
    void scheduleChecks();
    void fileDidRemove(const KVImageFileRef &file);
    void checkForRemovedFiles();
    void diskDidUnmount(const QString &devicePath);
    void waitForRecovery();
    std::vector<KVImageFileRef> removedImages() const;

    // The alert's list: every path, or, past five, the first four, "..." and the last.
    static QString removedFilesList(const QStringList &paths);

private:
    // Marks photos whose file is gone as removed and those back as normal; true when any is gone.
    bool markVanishedPhotos(bool restoreReturned);

    KVAppDelegate &m_delegate;
    mutable std::mutex m_removedImagesMutex;
    std::vector<KVImageFileRef> m_removedImages;
    std::unique_ptr<QTimer> m_removedFilesTimer;
    std::mutex m_recoveryMutex;
    std::thread m_recovery;
};
