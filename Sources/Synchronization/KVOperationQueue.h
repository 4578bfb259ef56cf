// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVBaseOperationQueue.h"
#include "KVObservable.h"
#include "KVOperationType.h"
#include "KVSynchronizationOperation.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

// Runs the synchronization operations and sums their counts into one picture of the run. It
// keeps the operations it was given after they have finished, so that a cancel can revert them
// and an interrupted run can be resumed from what they did.
// Observable keys: "processedImagesCount", "isOperationsCancelled", "isSynchronizationInProcess",
// "operationType", "allImagesCountOnStartOfCancel", "completetionBlock"; plus "operationCount".
class KVOperationQueue : public KVBaseOperationQueue, public KVObserver {
public:
    using CompletionBlock = std::function<void()>;

    KVOperationQueue();
    ~KVOperationQueue() override;

    // A snapshot of the registered operations, in the order they were registered.
    std::vector<KVSynchronizationOperationRef> allSyncOperations() const;
    void addSyncOperation(const KVSynchronizationOperationRef &operation);
    void removeSyncOperation(const KVSynchronizationOperationRef &operation);
    void removeAllSyncOperations();

    // Registers the operation and follows its count; it runs at the next startSynchronization.
    void addSynchronizationOperation(const KVSynchronizationOperationRef &operation);
    // With nothing registered the run stays "in process" until reset, on purpose: only a count
    // change can end a run.
    void startSynchronization();
    void reset();
    // Blocks until the workers have stopped, then changes back every photo the run changed.
    // Does nothing while such a revert is already under way.
    void cancelAllOperations() override;
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
    // Never run by the queue: whoever watches "operationCount" runs it when that drops to 0.
    CompletionBlock completetionBlock() const;
    void setCompletetionBlock(CompletionBlock block);

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

private:
    static qint64 imagesCount(const std::vector<KVSynchronizationOperationRef> &operations);
    void updateProgress();

    // The serial guard of the operation set: held only to copy or change the set.
    mutable std::mutex m_operationsMutex;
    std::vector<KVSynchronizationOperationRef> m_mutableOperations;
    // Makes the progress sum and its end-of-run test one step, so a late sum never overwrites
    // a newer one.
    std::mutex m_progressMutex;
    std::atomic<bool> m_isOperationsCancelled{false};
    std::atomic<bool> m_isSynchronizationInProcess{false};
    std::atomic<qint64> m_processedImagesCount{0};
    mutable std::mutex m_completionMutex;
    CompletionBlock m_completetionBlock;
    std::atomic<KVOperationType> m_operationType{KVOperationTypeSync};
    std::atomic<qint64> m_allImagesCountOnStartOfCancel{0};
};
