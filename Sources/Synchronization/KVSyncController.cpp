// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVSyncController.h"

#include "KVDateTags.h"
#include "KVDispatch.h"
#include "KVKeyPath.h"
#include "KVLog.h"

#include <QLocale>

#include <algorithm>
#include <map>

namespace {

QString dateText(const QDateTime &date) {
    return QLocale::c().toString(date, u"yyyy:MM:dd HH:mm:ss");
}

// The journal's plan of the changes, which get their places in it.
std::vector<KVJournalEntry> planOf(std::vector<KVPhotoChange> &changes) {
    std::vector<KVJournalEntry> plan;
    plan.reserve(changes.size());
    for (size_t index = 0; index < changes.size(); ++index) {
        KVPhotoChange &change = changes[index];
        change.journalIndex = static_cast<int>(index);
        KVJournalEntry entry;
        entry.identity = change.identity;
        entry.seconds = change.seconds;
        entry.oldDateText = change.expectedOldDateText.value_or(
            change.file ? dateText(change.file->creationDate()) : QString());
        entry.newDateText = KVDateTags::shifted(entry.oldDateText, change.seconds);
        plan.push_back(std::move(entry));
    }
    return plan;
}

KVOperationType operationTypeOf(KVRunKind kind) {
    switch (kind) {
    case KVRunKind::Undo:
        return KVOperationTypeUndo;
    case KVRunKind::Redo:
        return KVOperationTypeRedo;
    case KVRunKind::ChangeBack:
        return KVOperationTypeCancel;
    case KVRunKind::Sync:
    case KVRunKind::Shift:
        break;
    }
    return KVOperationTypeSync;
}

} // namespace

bool KVSyncController::Outcome::isComplete() const {
    return error.isEmpty() && end == KVRunRecord::End::Finished && notChanged.empty() &&
           static_cast<qsizetype>(changed.size()) == photoCount;
}

KVSyncController::KVSyncController()
    : m_workerCount(KVBaseOperationQueue::activeProcessorCount()) {
    m_queue.addObserver(this, KVKeyPath::operationCount);
}

KVSyncController::~KVSyncController() {
    m_queue.removeObserver(this, KVKeyPath::operationCount);
    // The workers stop and their tools are killed before the queue goes.
    m_queue.cancelAllOperations();
}

void KVSyncController::setEndHandler(EndHandler handler) {
    m_endHandler = std::move(handler);
}

void KVSyncController::setWorkerCount(int count) {
    m_workerCount = std::max(1, count);
    m_queue.setMaxConcurrentOperationCount(m_workerCount);
}

std::optional<KVSyncController::Outcome> KVSyncController::lastOutcome() const {
    return m_lastOutcome;
}

KVPhotoChange KVSyncController::changeFor(const KVImageFileRef &file, qint64 seconds) {
    KVPhotoChange change;
    change.file = file;
    change.identity = file->identity();
    change.seconds = seconds;
    return change;
}

std::vector<KVPhotoChange> KVSyncController::revertingChanges(const KVRunRecord &run) {
    std::map<QString, KVPhotoIdentity> latest;
    bool later = false;
    for (const KVRunRecord &other : KVRunRecord::all()) {
        later = later || other.id == run.id;
        if (!later)
            continue;
        for (const KVJournalEntry &entry : other.entries) {
            if (entry.inodeAfter != 0)
                latest[entry.identity.path] = entry.identityAfter();
        }
    }
    std::vector<KVPhotoChange> changes;
    for (const KVJournalEntry &entry : run.entries) {
        if (entry.state != KVJournalEntry::State::Changed)
            continue;
        KVPhotoChange change;
        const auto found = latest.find(entry.identity.path);
        change.identity = found != latest.end() ? found->second : entry.identityAfter();
        change.seconds = -entry.seconds;
        change.expectedOldDateText = entry.newDateText;
        changes.push_back(std::move(change));
    }
    return changes;
}

void KVSyncController::setState(State state) {
    if (m_state.exchange(state) != state)
        didChangeValueForKey(KVKeyPath::runState);
}

std::vector<KVSynchronizationOperationRef>
KVSyncController::makeOperations(const std::vector<KVPhotoChange> &changes,
                                 const std::shared_ptr<KVRunJournal> &journal) const {
    // Dealt out in turn, so that every worker gets photos of every camera and folder, and
    // similar sizes.
    const size_t workers = std::min(static_cast<size_t>(m_workerCount), changes.size());
    std::vector<std::vector<KVPhotoChange>> shares(workers);
    for (size_t index = 0; index < changes.size(); ++index)
        shares[index % workers].push_back(changes[index]);
    std::vector<KVSynchronizationOperationRef> operations;
    for (std::vector<KVPhotoChange> &share : shares)
        operations.push_back(
            std::make_shared<KVSynchronizationOperation>(std::move(share), journal, m_toolPath));
    return operations;
}

void KVSyncController::setLockWait(std::chrono::milliseconds wait, std::function<bool()> stop) {
    m_lockWait = wait;
    m_lockStop = std::move(stop);
}

std::optional<KVSyncController::Refusal>
KVSyncController::start(KVRunKind kind, std::vector<KVPhotoChange> changes, const QString &of) {
    if (isBusy())
        return Refusal{Refusal::Reason::Busy, QStringLiteral("Another run is still going on.")};
    QStringList paths;
    for (const KVPhotoChange &change : changes)
        paths << change.identity.path;
    const int workers = static_cast<int>(std::min<size_t>(m_workerCount, changes.size()));
    if (const std::optional<QString> problem =
            paths.isEmpty() ? std::nullopt : KVCheckRoomToWrite(paths, workers))
        return Refusal{Refusal::Reason::NoRoom, *problem};
    QString error;
    std::unique_ptr<KVFolderLocks> locks =
        KVFolderLocks::acquire(paths, m_lockWait, &error, m_lockStop);
    if (!locks)
        return Refusal{Refusal::Reason::Locked, error};
    // Read under the locks: a run that held them before may have replaced these files, and the
    // files are the ones this run must write.
    for (KVPhotoChange &change : changes) {
        if (!change.file)
            continue;
        const std::optional<KVPhotoIdentity> identity =
            KVPhotoWriter::identityOf(change.identity.path);
        if (identity && (identity->device != change.identity.device ||
                         identity->inode != change.identity.inode)) {
            change.file->setIdentity(*identity);
            change.identity = *identity;
        }
    }

    m_toolPath = KVToolPath();
    const std::vector<KVJournalEntry> plan = planOf(changes);
    std::unique_ptr<KVRunJournal> journal = KVRunJournal::create(kind, plan, of, &error);
    if (!journal) {
        KVLog(error);
        return Refusal{Refusal::Reason::NoJournal, error};
    }
    m_folderLocks = std::move(locks);
    m_journal = std::move(journal);
    m_changeBackJournal.reset();
    m_abandoned = false;
    m_held = false;
    m_current = Outcome();
    m_current.runId = m_journal->id();
    m_current.kind = kind;
    m_current.photoCount = static_cast<qsizetype>(changes.size());

    m_queue.reset();
    m_queue.setOperationType(operationTypeOf(kind));
    for (const KVSynchronizationOperationRef &operation : makeOperations(changes, m_journal))
        m_queue.addSynchronizationOperation(operation);
    setState(State::Running);
    m_queue.startSynchronization();
    if (changes.empty())
        KVDispatchMain([alive = std::weak_ptr<int>(m_alive), this] {
            if (alive.lock())
                checkForEnd();
        });
    return std::nullopt;
}

void KVSyncController::cancel() {
    if (state() != State::Running)
        return;
    setState(State::Cancelling);
    m_queue.setOperationType(KVOperationTypeCancel);
    m_queue.setIsOperationsCancelled(true);
    // Kills the tools; every worker ends with the photo it was writing intact.
    m_queue.cancelAllOperations();
    checkForEnd();
}

void KVSyncController::hold() {
    m_held = true;
}

void KVSyncController::abandon() {
    m_abandoned = true;
    m_queue.cancelAllOperations();
    m_held = false;
    KVDispatchMain([alive = std::weak_ptr<int>(m_alive), this] {
        if (alive.lock())
            checkForEnd();
    });
}

void KVSyncController::resumeAfterInterruption() {
    if (!m_abandoned && isBusy())
        m_queue.tryCompletePreviosSync();
    m_held = false;
    KVDispatchMain([alive = std::weak_ptr<int>(m_alive), this] {
        if (alive.lock())
            checkForEnd();
    });
}

void KVSyncController::observeValueForKeyPath(const QString &keyPath, KVObservable *) {
    if (keyPath != KVKeyPath::operationCount || m_queue.operationCount() != 0)
        return;
    KVDispatchMain([alive = std::weak_ptr<int>(m_alive), this] {
        if (alive.lock())
            checkForEnd();
    });
}

void KVSyncController::checkForEnd() {
    // Between a count of 0 on a worker and this moment, a resume may have refilled the queue;
    // a queue held for an unplugged disk keeps its operations waiting and is not over either.
    if (state() == State::Idle || m_held || m_queue.operationCount() != 0)
        return;
    const std::vector<KVSynchronizationOperationRef> operations = m_queue.allSyncOperations();
    if (!std::all_of(operations.begin(), operations.end(),
                     [](const auto &operation) { return operation->isFinished(); }))
        return;
    switch (state()) {
    case State::Running:
        collect(operations, m_current.changed, m_current.notChanged, &m_current.unreached);
        finish(m_abandoned ? KVRunRecord::End::Abandoned : KVRunRecord::End::Finished);
        break;
    case State::Cancelling:
        collect(operations, m_current.changed, m_current.notChanged, &m_current.unreached);
        startChangingBack();
        break;
    case State::ChangingBack:
        collect(operations, m_current.changedBack, m_current.notChangedBack);
        finish(KVRunRecord::End::Cancelled);
        break;
    case State::Idle:
        break;
    }
}

void KVSyncController::startChangingBack() {
    std::vector<KVPhotoChange> reverting;
    for (const KVPhotoChangeResult &result : m_current.changed)
        reverting.push_back(KVRevertingChange(result));
    if (reverting.empty())
        return finish(KVRunRecord::End::Cancelled);

    const std::vector<KVJournalEntry> plan = planOf(reverting);
    // Without a journal of its own the change-back still runs: the cancelled run's journal
    // stays open until it ends, and a recovery of that run covers every photo of both.
    QString error;
    m_changeBackJournal =
        KVRunJournal::create(KVRunKind::ChangeBack, plan, m_current.runId, &error);
    if (!m_changeBackJournal)
        KVLog(error);
    setState(State::ChangingBack);
    m_queue.startChangingBack(makeOperations(reverting, m_changeBackJournal));
}

void KVSyncController::finish(KVRunRecord::End end) {
    if (m_changeBackJournal)
        m_changeBackJournal->close(KVRunRecord::End::Finished);
    if (m_journal)
        m_journal->close(end);
    m_changeBackJournal.reset();
    m_journal.reset();
    m_folderLocks.reset();
    m_current.end = end;
    m_lastOutcome = m_current;
    m_queue.setIsSynchronizationInProcess(false);
    setState(State::Idle);
    if (m_endHandler)
        m_endHandler(*m_lastOutcome);
}

void KVSyncController::collect(const std::vector<KVSynchronizationOperationRef> &operations,
                               std::vector<KVPhotoChangeResult> &changed,
                               std::vector<KVPhotoChangeResult> &notChanged,
                               std::vector<KVPhotoChangeResult> *unreached) {
    for (const KVSynchronizationOperationRef &operation : operations) {
        if (unreached) {
            for (KVPhotoChangeResult &result : operation->unreached())
                unreached->push_back(std::move(result));
        }
        for (KVPhotoChangeResult &result : operation->changed())
            changed.push_back(std::move(result));
        for (KVPhotoChangeResult &result : operation->notChanged())
            notChanged.push_back(std::move(result));
    }
}
