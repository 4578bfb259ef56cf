// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVBaseOperationQueue.h"
#include "KVObservable.h"
#include "KVOperationType.h"
#include "KVSynchronizationOperation.h"

#include <atomic>
#include <mutex>
#include <vector>

// Runs the workers of a run and sums their counts into one picture of it, for the displays.
// The sync controller decides what runs and when a run ends; the queue keeps the operations it
// was given after they have finished, so that what they did can be read back.
// Observable keys: "processedImagesCount", "isOperationsCancelled", "isSynchronizationInProcess",
// "operationType", "allImagesCountOnStartOfCancel"; plus "operationCount".
//
// What the keys say through a run: "isSynchronizationInProcess" is true from the start to the
// end of the whole run, a cancel's change-back included. "processedImagesCount" counts the
// photos handled. Once Cancel is pressed, "isOperationsCancelled" is true and "operationType"
// is KVOperationTypeCancel at once; while the workers stop, cancelledImagesCount() is 0; when
// the change-back starts, cancelledImagesCount() is the number of photos to change back and
// "processedImagesCount" counts down from it to 0 (changed back so far: the difference).
class KVOperationQueue : public KVBaseOperationQueue, public KVObserver {
public:
    KVOperationQueue();
    ~KVOperationQueue() override;

    // A snapshot of the registered operations, in the order they were registered.
    std::vector<KVSynchronizationOperationRef> allSyncOperations() const;
    // Registers the operation without following its count (its count is set by hand).
    void addSyncOperation(const KVSynchronizationOperationRef &operation);
    // Registers the operation and follows its count; it runs at the next startSynchronization.
    void addSynchronizationOperation(const KVSynchronizationOperationRef &operation);
    void removeAllSyncOperations();
    void startSynchronization();
    void reset();
    // Cancels every registered operation (their tools are killed) and returns at once.
    void cancelAllOperations() override;
    // Registers the photos to change back after a cancel, and counts down from them.
    void startChangingBack(const std::vector<KVSynchronizationOperationRef> &operations);
    // Runs copies of the registered operations, which skip the photos already done.
    void tryCompletePreviosSync();

    qint64 allImagesCount() const;
    qint64 cancelledImagesCount() const;

    qint64 processedImagesCount() const { return m_processedImagesCount.load(); }
    void setProcessedImagesCount(qint64 count);
    bool isOperationsCancelled() const { return m_isOperationsCancelled.load(); }
    void setIsOperationsCancelled(bool cancelled);
    bool isSynchronizationInProcess() const { return m_isSynchronizationInProcess.load(); }
    void setIsSynchronizationInProcess(bool inProcess);
    KVOperationType operationType() const { return m_operationType.load(); }
    void setOperationType(KVOperationType type);
    qint64 allImagesCountOnStartOfCancel() const { return m_allImagesCountOnStartOfCancel.load(); }
    void setAllImagesCountOnStartOfCancel(qint64 count);

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

private:
    static qint64 imagesCount(const std::vector<KVSynchronizationOperationRef> &operations);
    void updateProgress();

    // The serial guard of the operation set: held only to copy or change the set.
    mutable std::mutex m_operationsMutex;
    std::vector<KVSynchronizationOperationRef> m_mutableOperations;
    // Makes the progress sum one step, so a late sum never overwrites a newer one.
    std::mutex m_progressMutex;
    std::atomic<bool> m_isOperationsCancelled{false};
    std::atomic<bool> m_isSynchronizationInProcess{false};
    std::atomic<qint64> m_processedImagesCount{0};
    std::atomic<KVOperationType> m_operationType{KVOperationTypeSync};
    std::atomic<qint64> m_allImagesCountOnStartOfCancel{0};
    std::atomic<qint64> m_changeBackCount{0};
};
