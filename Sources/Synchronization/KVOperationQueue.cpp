// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVOperationQueue.h"

#include "KVKeyPath.h"

#include <algorithm>

KVOperationQueue::KVOperationQueue() {
    setMaxConcurrentOperationCount(activeProcessorCount());
}

KVOperationQueue::~KVOperationQueue() {
    // The workers call back into this object with every count; they must be done before the
    // members go. Cancelled operations that wait on a suspended queue finish without running.
    cancelAllOperations();
    setSuspended(false);
    waitUntilAllOperationsAreFinished();
    removeAllSyncOperations();
}

std::vector<KVSynchronizationOperationRef> KVOperationQueue::allSyncOperations() const {
    std::lock_guard lock(m_operationsMutex);
    return m_mutableOperations;
}

void KVOperationQueue::removeAllSyncOperations() {
    std::lock_guard lock(m_operationsMutex);
    for (const KVSynchronizationOperationRef &operation : m_mutableOperations)
        operation->removeObserver(this, KVKeyPath::processedImagesCount);
    m_mutableOperations.clear();
}

void KVOperationQueue::addSyncOperation(const KVSynchronizationOperationRef &operation) {
    std::lock_guard lock(m_operationsMutex);
    if (operation && std::find(m_mutableOperations.begin(), m_mutableOperations.end(), operation) ==
                         m_mutableOperations.end())
        m_mutableOperations.push_back(operation);
}

void KVOperationQueue::addSynchronizationOperation(const KVSynchronizationOperationRef &operation) {
    if (!operation)
        return;
    std::lock_guard lock(m_operationsMutex);
    // Registered once and observed once, so that one removal ends the observation.
    if (std::find(m_mutableOperations.begin(), m_mutableOperations.end(), operation) !=
        m_mutableOperations.end())
        return;
    operation->addObserver(this, KVKeyPath::processedImagesCount);
    m_mutableOperations.push_back(operation);
}

void KVOperationQueue::startSynchronization() {
    setIsSynchronizationInProcess(true);
    for (const KVSynchronizationOperationRef &operation : allSyncOperations())
        KVBaseOperationQueue::addOperation(operation);
}

void KVOperationQueue::reset() {
    removeAllSyncOperations();
    m_changeBackCount = 0;
    m_allImagesCountOnStartOfCancel = 0;
    setProcessedImagesCount(0);
    setIsOperationsCancelled(false);
    setIsSynchronizationInProcess(false);
}

void KVOperationQueue::cancelAllOperations() {
    // Operations registered but not yet handed to a worker are cancelled too, so none of
    // them starts later.
    for (const KVSynchronizationOperationRef &operation : allSyncOperations())
        operation->cancel();
    KVBaseOperationQueue::cancelAllOperations();
}

void KVOperationQueue::startChangingBack(
    const std::vector<KVSynchronizationOperationRef> &operations) {
    if (!isOperationsCancelled()) {
        setAllImagesCountOnStartOfCancel(allImagesCount());
        setOperationType(KVOperationTypeCancel);
        setIsOperationsCancelled(true);
    }
    removeAllSyncOperations();
    for (const KVSynchronizationOperationRef &operation : operations)
        addSynchronizationOperation(operation);
    m_changeBackCount = imagesCount(operations);
    setProcessedImagesCount(m_changeBackCount);
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
    std::vector<KVSynchronizationOperationRef> copies;
    copies.reserve(operations.size());
    for (const KVSynchronizationOperationRef &operation : operations)
        copies.push_back(operation->copy());
    removeAllSyncOperations();
    for (const KVSynchronizationOperationRef &copy : copies)
        addSynchronizationOperation(copy);
    updateProgress();
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
    return isOperationsCancelled() ? m_changeBackCount.load() : 0;
}

void KVOperationQueue::setProcessedImagesCount(qint64 count) {
    m_processedImagesCount = count;
    didChangeValueForKey(KVKeyPath::processedImagesCount);
}

void KVOperationQueue::setAllImagesCountOnStartOfCancel(qint64 count) {
    m_allImagesCountOnStartOfCancel = count;
    didChangeValueForKey(KVKeyPath::allImagesCountOnStartOfCancel);
}

void KVOperationQueue::setIsOperationsCancelled(bool cancelled) {
    if (cancelled && !m_isOperationsCancelled)
        setAllImagesCountOnStartOfCancel(imagesCount(allSyncOperations()));
    m_isOperationsCancelled = cancelled;
    didChangeValueForKey(KVKeyPath::isOperationsCancelled);
}

void KVOperationQueue::setIsSynchronizationInProcess(bool inProcess) {
    if (m_isSynchronizationInProcess.exchange(inProcess) != inProcess)
        didChangeValueForKey(KVKeyPath::isSynchronizationInProcess);
}

void KVOperationQueue::setOperationType(KVOperationType type) {
    m_operationType = type;
    didChangeValueForKey(KVKeyPath::operationType);
}

void KVOperationQueue::observeValueForKeyPath(const QString &keyPath, KVObservable *) {
    // While suspended the counts are left as they are; the next change after resuming brings
    // them up to date, since each update sums every operation anew.
    if (keyPath != KVKeyPath::processedImagesCount || isSuspended())
        return;
    updateProgress();
}

void KVOperationQueue::updateProgress() {
    {
        std::lock_guard lock(m_progressMutex);
        qint64 sum = 0;
        for (const KVSynchronizationOperationRef &operation : allSyncOperations())
            sum += operation->processedImagesCount();
        // While changing back, the count runs down: the photos still to be changed back.
        const bool changingBack = isOperationsCancelled() && m_changeBackCount > 0;
        m_processedImagesCount = changingBack ? m_changeBackCount - sum : sum;
    }
    didChangeValueForKey(KVKeyPath::processedImagesCount);
}
