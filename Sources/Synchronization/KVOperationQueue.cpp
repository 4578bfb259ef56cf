// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVOperationQueue.h"

#include <algorithm>

namespace {

const QString processedImagesCountKey = QStringLiteral("processedImagesCount");

} // namespace

KVOperationQueue::KVOperationQueue() {
    setMaxConcurrentOperationCount(activeProcessorCount());
}

KVOperationQueue::~KVOperationQueue() {
    // The workers call back into this object with every count; they must be done before the
    // members go. Cancelled operations that wait on a suspended queue finish without running.
    KVBaseOperationQueue::cancelAllOperations();
    setSuspended(false);
    waitUntilAllOperationsAreFinished();
    removeAllSyncOperations();
}

std::vector<KVSynchronizationOperationRef> KVOperationQueue::allSyncOperations() const {
    std::lock_guard lock(m_operationsMutex);
    return m_mutableOperations;
}

void KVOperationQueue::addSyncOperation(const KVSynchronizationOperationRef &operation) {
    if (!operation)
        return;
    std::lock_guard lock(m_operationsMutex);
    if (std::find(m_mutableOperations.begin(), m_mutableOperations.end(), operation) ==
        m_mutableOperations.end())
        m_mutableOperations.push_back(operation);
}

void KVOperationQueue::removeSyncOperation(const KVSynchronizationOperationRef &operation) {
    if (!operation)
        return;
    std::lock_guard lock(m_operationsMutex);
    const auto it = std::find(m_mutableOperations.begin(), m_mutableOperations.end(), operation);
    if (it == m_mutableOperations.end())
        return;
    operation->removeObserver(this, processedImagesCountKey);
    m_mutableOperations.erase(it);
}

void KVOperationQueue::removeAllSyncOperations() {
    std::lock_guard lock(m_operationsMutex);
    for (const KVSynchronizationOperationRef &operation : m_mutableOperations)
        operation->removeObserver(this, processedImagesCountKey);
    m_mutableOperations.clear();
}

void KVOperationQueue::addSynchronizationOperation(const KVSynchronizationOperationRef &operation) {
    if (!operation)
        return;
    std::lock_guard lock(m_operationsMutex);
    // Registered once and observed once, so that one removal ends the observation.
    if (std::find(m_mutableOperations.begin(), m_mutableOperations.end(), operation) !=
        m_mutableOperations.end())
        return;
    operation->addObserver(this, processedImagesCountKey);
    m_mutableOperations.push_back(operation);
}

void KVOperationQueue::startSynchronization() {
    setIsSynchronizationInProcess(true);
    for (const KVSynchronizationOperationRef &operation : allSyncOperations())
        KVBaseOperationQueue::addOperation(operation);
}

void KVOperationQueue::reset() {
    removeAllSyncOperations();
    setProcessedImagesCount(0);
    setIsOperationsCancelled(false);
    setIsSynchronizationInProcess(false);
}

void KVOperationQueue::cancelAllOperations() {
    // A second cancel while changing back would cancel the reverting operations and revert
    // them in turn, shifting the photos forwards again: the revert always runs to its end.
    if (isOperationsCancelled())
        return;
    const std::vector<KVSynchronizationOperationRef> cancelled = allSyncOperations();
    // Operations registered but never started are cancelled too, so that none of them can run
    // forwards in the reverting run below.
    for (const KVSynchronizationOperationRef &operation : cancelled)
        operation->cancel();
    KVBaseOperationQueue::cancelAllOperations();
    // A suspended queue would never let its cancelled operations finish, and the wait below
    // would never end.
    setSuspended(false);
    waitUntilAllOperationsAreFinished();

    setAllImagesCountOnStartOfCancel(allImagesCount());
    setIsOperationsCancelled(true);
    setOperationType(KVOperationTypeCancel);

    for (const KVSynchronizationOperationRef &operation : cancelled) {
        const KVSynchronizationOperationRef reverted = operation->revertedOperation();
        removeSyncOperation(operation);
        if (reverted)
            addSynchronizationOperation(reverted);
    }
    startSynchronization();
}

void KVOperationQueue::tryCompletePreviosSync() {
    const std::vector<KVSynchronizationOperationRef> operations = allSyncOperations();
    // An operation still at work would change photos its copy changes as well: stop it, and
    // wait for one in the middle of a photo. One that has not started never runs now.
    for (const KVSynchronizationOperationRef &operation : operations) {
        operation->cancel();
        if (operation->isExecuting())
            operation->waitUntilFinished();
    }
    qint64 done = 0;
    std::vector<KVSynchronizationOperationRef> copies;
    copies.reserve(operations.size());
    for (const KVSynchronizationOperationRef &operation : operations) {
        done += static_cast<qint64>(operation->doneImageFiles().size());
        copies.push_back(operation->copy());
    }
    setProcessedImagesCount(done);
    removeAllSyncOperations();
    for (const KVSynchronizationOperationRef &copy : copies)
        addSynchronizationOperation(copy);
    startSynchronization();
}

qint64 KVOperationQueue::imagesCount(const std::vector<KVSynchronizationOperationRef> &operations) {
    qint64 count = 0;
    for (const KVSynchronizationOperationRef &operation : operations)
        count += operation->imageFilesCount();
    return count;
}

qint64 KVOperationQueue::allImagesCount() const {
    if (isOperationsCancelled())
        return allImagesCountOnStartOfCancel();
    return imagesCount(allSyncOperations());
}

qint64 KVOperationQueue::cancelledImagesCount() const {
    if (!isOperationsCancelled())
        return 0;
    return imagesCount(allSyncOperations());
}

void KVOperationQueue::setProcessedImagesCount(qint64 count) {
    m_processedImagesCount = count;
    didChangeValueForKey(processedImagesCountKey);
}

void KVOperationQueue::setIsOperationsCancelled(bool cancelled) {
    m_isOperationsCancelled = cancelled;
    didChangeValueForKey(QStringLiteral("isOperationsCancelled"));
}

void KVOperationQueue::setIsSynchronizationInProcess(bool inProcess) {
    m_isSynchronizationInProcess = inProcess;
    didChangeValueForKey(QStringLiteral("isSynchronizationInProcess"));
}

void KVOperationQueue::setOperationType(KVOperationType type) {
    m_operationType = type;
    didChangeValueForKey(QStringLiteral("operationType"));
}

void KVOperationQueue::setAllImagesCountOnStartOfCancel(qint64 count) {
    m_allImagesCountOnStartOfCancel = count;
    didChangeValueForKey(QStringLiteral("allImagesCountOnStartOfCancel"));
}

KVOperationQueue::CompletionBlock KVOperationQueue::completetionBlock() const {
    std::lock_guard lock(m_completionMutex);
    return m_completetionBlock;
}

void KVOperationQueue::setCompletetionBlock(CompletionBlock block) {
    {
        std::lock_guard lock(m_completionMutex);
        m_completetionBlock = std::move(block);
    }
    didChangeValueForKey(QStringLiteral("completetionBlock"));
}

void KVOperationQueue::observeValueForKeyPath(const QString &keyPath, KVObservable *) {
    // While suspended the counts are left as they are; the next change after resuming brings
    // them up to date, since each update sums every operation anew.
    if (keyPath != processedImagesCountKey || isSuspended())
        return;
    updateProgress();
}

void KVOperationQueue::updateProgress() {
    bool runEnded = false;
    {
        std::lock_guard lock(m_progressMutex);
        const std::vector<KVSynchronizationOperationRef> operations = allSyncOperations();
        qint64 sum = 0;
        for (const KVSynchronizationOperationRef &operation : operations)
            sum += operation->processedImagesCount();
        const bool cancelled = isOperationsCancelled();
        // While reverting, the count runs down: the photos still to be changed back.
        const qint64 count = cancelled ? imagesCount(operations) - sum : sum;
        m_processedImagesCount = count;
        runEnded = cancelled ? count == 0 : count == imagesCount(operations);
        if (runEnded)
            m_isSynchronizationInProcess = false;
    }
    didChangeValueForKey(processedImagesCountKey);
    if (runEnded)
        didChangeValueForKey(QStringLiteral("isSynchronizationInProcess"));
}
