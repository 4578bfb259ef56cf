// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVSynchronizationOperation.h"

#include "KVLog.h"

#include <QDateTime>

#include <cmath>

namespace {

std::vector<KVImageFileRef> distinctImageFiles(const std::vector<KVImageFileRef> &imageFiles) {
    std::vector<KVImageFileRef> distinct;
    distinct.reserve(imageFiles.size());
    KVImageFileSet seen;
    for (const KVImageFileRef &file : imageFiles) {
        if (file && seen.insert(file).second)
            distinct.push_back(file);
    }
    return distinct;
}

} // namespace

KVSynchronizationOperation::KVSynchronizationOperation(
    double timeInterval, const std::vector<KVImageFileRef> &imageFiles)
    : m_timeInterval(timeInterval)
    , m_imageFiles(distinctImageFiles(imageFiles)) {
    m_notChangedFiles.reserve(8);
}

KVSynchronizationOperationRef KVSynchronizationOperation::copy() const {
    std::lock_guard lock(m_mutex);
    auto copied = std::make_shared<KVSynchronizationOperation>(m_timeInterval, m_imageFiles);
    copied->m_doneImageFiles = m_doneImageFiles;
    copied->m_notChangedFiles = m_notChangedFiles;
    // The count starts at what was done, not at 0: a copy still waiting for a worker would
    // otherwise pull the queue's summed count back below where the run stood.
    copied->m_processedImagesCount = static_cast<qint64>(m_doneImageFiles.size());
    if (!m_imageFiles.empty())
        copied->m_progress =
            static_cast<double>(m_doneImageFiles.size()) / static_cast<double>(m_imageFiles.size());
    return copied;
}

KVSynchronizationOperationRef KVSynchronizationOperation::revertedOperation() const {
    std::lock_guard lock(m_mutex);
    if (m_doneImageFiles.empty())
        return nullptr;
    return std::make_shared<KVSynchronizationOperation>(
        -m_timeInterval,
        std::vector<KVImageFileRef>(m_doneImageFiles.begin(), m_doneImageFiles.end()));
}

KVImageFileSet KVSynchronizationOperation::doneImageFiles() const {
    std::lock_guard lock(m_mutex);
    return m_doneImageFiles;
}

QList<QUrl> KVSynchronizationOperation::notChangedFiles() const {
    std::lock_guard lock(m_mutex);
    return m_notChangedFiles;
}

double KVSynchronizationOperation::timeInterval() const {
    std::lock_guard lock(m_mutex);
    return m_timeInterval;
}

void KVSynchronizationOperation::setTimeInterval(double timeInterval) {
    std::lock_guard lock(m_mutex);
    m_timeInterval = timeInterval;
}

std::vector<KVImageFileRef> KVSynchronizationOperation::imageFiles() const {
    std::lock_guard lock(m_mutex);
    return m_imageFiles;
}

void KVSynchronizationOperation::setImageFiles(const std::vector<KVImageFileRef> &imageFiles) {
    std::vector<KVImageFileRef> distinct = distinctImageFiles(imageFiles);
    std::lock_guard lock(m_mutex);
    m_imageFiles = std::move(distinct);
}

qsizetype KVSynchronizationOperation::imageFilesCount() const {
    std::lock_guard lock(m_mutex);
    return static_cast<qsizetype>(m_imageFiles.size());
}

void KVSynchronizationOperation::setProcessedImagesCount(qint64 count) {
    m_processedImagesCount = count;
    didChangeValueForKey(QStringLiteral("processedImagesCount"));
}

void KVSynchronizationOperation::main() {
    KVLogVerbose(QStringLiteral("Sync operation launched"));
    const double interval = timeInterval();
    const std::vector<KVImageFileRef> allFiles = imageFiles();
    KVImageFileSet remaining(allFiles.begin(), allFiles.end());
    const qint64 total = static_cast<qint64>(remaining.size());
    const KVImageFileSet done = doneImageFiles();
    // A copy of an interrupted operation counts on from what it had done before.
    setProcessedImagesCount(static_cast<qint64>(done.size()));
    for (const KVImageFileRef &file : done)
        remaining.erase(file);
    const std::vector<KVImageFileRef> list(remaining.begin(), remaining.end());
    KVLogVerbose(QStringLiteral("Images to sync: %1").arg(list.size()));

    for (const KVImageFileRef &file : list) {
        // Checked between photos only: a photo being written is always finished, never cut.
        if (isCancelled())
            break;
        if (synchronizeImageFile(file, interval)) {
            // Kept at once rather than when the loop ends, so that whoever reads the done
            // photos of a running operation never misses one that is already on disk.
            std::lock_guard lock(m_mutex);
            m_doneImageFiles.insert(file);
        }
        const qint64 processed = processedImagesCount() + 1;
        // The fraction first, so that whoever hears of the count reads a progress that matches.
        setProgress(static_cast<double>(processed) / static_cast<double>(total));
        setProcessedImagesCount(processed);
    }
}

bool KVSynchronizationOperation::synchronizeImageFile(const KVImageFileRef &file, double interval) {
    std::lock_guard fileLock(file->lock());
    KVLogVerbose(QStringLiteral("Images path: %1").arg(file->path()));
    // A photo moved to the Trash is neither changed nor reported.
    if (file->imageState() == KVImageStateRemoved)
        return false;
    KVLogVerbose(QStringLiteral("Calling"));
    const QDateTime date = file->creationDate();
    bool isSucceed = false;
    // A date that cannot be computed is never handed to the writer: the file stays as it is.
    if (date.isValid() && std::isfinite(interval) && std::fabs(interval) < 1e12) {
        const QDateTime newDate = date.addMSecs(std::llround(interval * 1000.0));
        if (newDate.isValid())
            file->setCreationDate(newDate, &isSucceed);
    }
    if (isSucceed)
        noteChanged(file->url());
    else
        noteNotChanged(file->url());
    return isSucceed;
}

void KVSynchronizationOperation::noteNotChanged(const QUrl &url) {
    std::lock_guard lock(m_mutex);
    if (!m_notChangedFiles.contains(url))
        m_notChangedFiles.append(url);
}

void KVSynchronizationOperation::noteChanged(const QUrl &url) {
    // Only a resumed copy can hold the photo here, from a failure of the run it continues.
    std::lock_guard lock(m_mutex);
    m_notChangedFiles.removeAll(url);
}
