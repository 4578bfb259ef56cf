// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVVanishedFiles.h"

#include "KVAppDelegate.h"
#include "KVDispatch.h"
#include "KVFileName.h"
#include "KVVolumes.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>

namespace {

bool isMountedFolder(const QString &path) {
    // An emptied mount point stays behind as a folder here, so "back" means mounted again.
    if (!KVFileName::isFolder(path))
        return false;
    const std::vector<KVMountedVolume> volumes = KVVolumes::mountedVolumes();
    return std::any_of(volumes.begin(), volumes.end(),
                       [&](const KVMountedVolume &volume) { return volume.path == path; });
}

} // namespace

KVVanishedFiles::KVVanishedFiles(KVAppDelegate &delegate)
    : m_delegate(delegate) {
}

KVVanishedFiles::~KVVanishedFiles() {
    waitForRecovery();
}

void KVVanishedFiles::scheduleChecks() {
    if (!m_removedFilesTimer) {
        m_removedFilesTimer = std::make_unique<QTimer>();
        m_removedFilesTimer->callOnTimeout([this] { checkForRemovedFiles(); });
    }
    m_removedFilesTimer->start(checkIntervalMilliseconds);
}

void KVVanishedFiles::fileDidRemove(const KVImageFileRef &file) {
    std::lock_guard lock(m_removedImagesMutex);
    m_removedImages.push_back(file);
}

std::vector<KVImageFileRef> KVVanishedFiles::removedImages() const {
    std::lock_guard lock(m_removedImagesMutex);
    return m_removedImages;
}

QString KVVanishedFiles::removedFilesList(const QStringList &paths) {
    QString list;
    list.reserve(512);
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (paths.size() > 5 && i == 4) {
            list += QStringLiteral("...\n%1\n").arg(paths.last());
            break;
        }
        list += paths[i] + QLatin1Char('\n');
    }
    return list;
}

void KVVanishedFiles::checkForRemovedFiles() {
    if (m_removedFilesTimer)
        m_removedFilesTimer->stop();
    const std::vector<KVImageFileRef> reported = removedImages();
    if (!reported.empty()) {
        QStringList paths;
        for (const KVImageFileRef &file : reported)
            paths << file->path();
        if (KVUserInterface *ui = m_delegate.userInterface()) {
            ui->runAlert(tr("Cannot open file or files"),
                         tr("Kalvora cannot find the following files. Make sure that they have "
                            "not been renamed, moved, or deleted:\n") +
                             removedFilesList(paths),
                         {tr("OK")});
        }
        m_delegate.cameraSets().reloadModel();
        // Reports that came in while the alert was up wait for the next check.
        std::lock_guard lock(m_removedImagesMutex);
        for (const KVImageFileRef &file : reported) {
            auto it = std::find(m_removedImages.begin(), m_removedImages.end(), file);
            if (it != m_removedImages.end())
                m_removedImages.erase(it);
        }
    }
    scheduleChecks();
}

bool KVVanishedFiles::markVanishedPhotos(bool restoreReturned) {
    std::lock_guard lock(m_delegate.lock());
    bool anyGone = false;
    KVCameraSets::forEachImageFile(m_delegate.imageFiles(), [&](const KVImageFileRef &file) {
        if (!KVFileName::exists(file->path())) {
            anyGone = true;
            if (file->imageState() != KVImageStateRemoved)
                file->setImageState(KVImageStateRemoved);
        } else if (restoreReturned && file->imageState() == KVImageStateRemoved) {
            file->setImageState(KVImageStateNormal);
        }
    });
    return anyGone;
}

void KVVanishedFiles::diskDidUnmount(const QString &devicePath) {
    if (!markVanishedPhotos(false))
        return;

    KVSyncController &controller = m_delegate.syncController();
    KVOperationQueue &syncQueue = controller.queue();
    KVBaseOperationQueue &queue = m_delegate.cameraSets().queue();
    const bool wasRunning = controller.isBusy();
    // Its workers fail on the missing photos meanwhile; the run waits for the answer.
    if (wasRunning)
        controller.hold();
    queue.setSuspended(true);
    syncQueue.setSuspended(true);

    bool abandoned = false;
    if (KVUserInterface *ui = m_delegate.userInterface()) {
        if (wasRunning) {
            const QString text =
                tr("The disk %1, which contains one or more of the photos that you "
                   "have chosen to sync, has been disconnected from your computer. "
                   "Reconnect the disk, and then try again.")
                    .arg(devicePath);
            for (;;) {
                const int button = ui->runAlert(tr("Cannot open file or files"), text,
                                                {tr("Try Again"), tr("Cancel")});
                if (button != 0) {
                    abandoned = true;
                    break;
                }
                if (isMountedFolder(devicePath))
                    break;
            }
        } else {
            ui->runAlert(tr("Cannot open file or files"),
                         tr("Make sure that disk is connected correctly."), {tr("OK")});
        }
    }

    const bool missing = markVanishedPhotos(true);

    waitForRecovery();
    std::lock_guard lock(m_recoveryMutex);
    m_recovery = std::thread([&controller, &syncQueue, &queue, abandoned, wasRunning] {
        // Only what is running finishes while the queues are held; what never started would
        // otherwise keep the wait from ever returning. An abandoned run starts nothing more:
        // it ends with what it did, and its report says which photos moved and which did not.
        syncQueue.waitUntilRunningOperationsAreFinished();
        queue.waitUntilRunningOperationsAreFinished();
        if (abandoned)
            controller.abandon();
        queue.setSuspended(false);
        syncQueue.setSuspended(false);
        if (wasRunning)
            controller.resumeAfterInterruption();
    });

    if (missing)
        m_delegate.cameraSets().reloadModel();
}

void KVVanishedFiles::waitForRecovery() {
    std::lock_guard lock(m_recoveryMutex);
    if (m_recovery.joinable())
        m_recovery.join();
}
