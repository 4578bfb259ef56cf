// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageFile.h"
#include "KVOperation.h"

#include <QList>
#include <QUrl>

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_set>
#include <vector>

class KVSynchronizationOperation;
using KVSynchronizationOperationRef = std::shared_ptr<KVSynchronizationOperation>;
using KVImageFileSet = std::unordered_set<KVImageFileRef, KVImageFileHash, KVImageFileEqual>;

// Shifts the capture date of every photo of one camera by one interval, photo by photo, and
// remembers what it changed so that a cancel can change exactly that back.
// Observable key: "processedImagesCount" (announced on the worker thread).
class KVSynchronizationOperation : public KVOperation {
public:
    // Null records and repeated photos are dropped from the list: each photo is counted and
    // changed once, so the queue's total is what the operation really handles.
    KVSynchronizationOperation(double timeInterval, const std::vector<KVImageFileRef> &imageFiles);

    // A fresh operation over the same photos that skips those already done, so that a run
    // interrupted midway continues where it stopped.
    KVSynchronizationOperationRef copy() const;
    // The operation that moves exactly the changed photos back; null when nothing was changed.
    KVSynchronizationOperationRef revertedOperation() const;

    KVImageFileSet doneImageFiles() const;
    QList<QUrl> notChangedFiles() const;

    double timeInterval() const;
    void setTimeInterval(double timeInterval);
    std::vector<KVImageFileRef> imageFiles() const;
    void setImageFiles(const std::vector<KVImageFileRef> &imageFiles);
    qsizetype imageFilesCount() const;
    double progress() const { return m_progress.load(); }
    void setProgress(double progress) { m_progress = progress; }
    qint64 processedImagesCount() const { return m_processedImagesCount.load(); }
    void setProcessedImagesCount(qint64 count);

protected:
    void main() override;

private:
    // Changes one photo under its record's lock; true when its date was written.
    bool synchronizeImageFile(const KVImageFileRef &file, double timeInterval);
    void noteNotChanged(const QUrl &url);
    void noteChanged(const QUrl &url);

    mutable std::mutex m_mutex;
    KVImageFileSet m_doneImageFiles;
    QList<QUrl> m_notChangedFiles;
    double m_timeInterval = 0;
    std::vector<KVImageFileRef> m_imageFiles;
    std::atomic<double> m_progress{0};
    std::atomic<qint64> m_processedImagesCount{0};
};
