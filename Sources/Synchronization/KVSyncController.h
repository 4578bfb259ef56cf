// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVObservable.h"
#include "KVOperationQueue.h"
#include "KVFolderLocks.h"
#include "KVRunJournal.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

// Runs one run at a time (a sync, a shift, an undo or a redo): journals it, spreads its photos
// over one worker per core whatever their cameras, and ends it exactly once with what really
// happened. Cancel never waits: it kills the tools, and the photos already changed are changed
// back, each by its own shift, once the workers have stopped. Used on the main thread, except
// hold(), resumeAfterInterruption() and abandon(), which the hand-back after an unplugged disk
// calls from its own thread.
// Observable key: "runState".
class KVSyncController : public KVObservable, public KVObserver {
public:
    enum class State {
        Idle,
        Running,
        // Cancel was pressed: the workers are being stopped.
        Cancelling,
        // The photos the cancelled run changed are being changed back.
        ChangingBack,
    };

    // What a run did, when it has ended.
    struct Outcome {
        QString runId;
        KVRunKind kind = KVRunKind::Sync;
        KVRunRecord::End end = KVRunRecord::End::Finished;
        qsizetype photoCount = 0;
        std::vector<KVPhotoChangeResult> changed;
        // With the reason of each.
        std::vector<KVPhotoChangeResult> notChanged;
        // Photos the run never came to (it was cancelled or abandoned first).
        std::vector<KVPhotoChangeResult> unreached;
        // After a cancel: the changed photos that were, or could not be, changed back.
        std::vector<KVPhotoChangeResult> changedBack;
        std::vector<KVPhotoChangeResult> notChangedBack;
        // The run could not start (no journal); nothing was changed.
        QString error;

        // Every photo changed, nothing cancelled or abandoned.
        bool isComplete() const;
    };
    using EndHandler = std::function<void(const Outcome &)>;

    KVSyncController();
    ~KVSyncController() override;

    KVOperationQueue &queue() { return m_queue; }
    State state() const { return m_state.load(); }
    bool isBusy() const { return state() != State::Idle; }
    // Told on the main thread when a run ends.
    void setEndHandler(EndHandler handler);
    // Workers per run; the machine's cores unless set.
    void setWorkerCount(int count);
    std::optional<Outcome> lastOutcome() const;

    // The change that shifts one photo of the window's model.
    static KVPhotoChange changeFor(const KVImageFileRef &file, qint64 seconds);
    // The changes that move back what a run changed, from its journal. Each photo is known by
    // the file the journals of this run and of every later one say it is now (each change
    // replaces the file).
    static std::vector<KVPhotoChange> revertingChanges(const KVRunRecord &run);

    // Why a run did not start; then nothing has changed.
    struct Refusal {
        enum class Reason { Busy, NoRoom, Locked, NoJournal } reason;
        QString text;
    };
    // Checks for room, locks the photos' folders against other runs (waiting as set), takes
    // each photo's identity afresh, journals the run and starts it on the tool at KVToolPath().
    // A run without photos ends at once.
    std::optional<Refusal> start(KVRunKind kind, std::vector<KVPhotoChange> changes,
                                 const QString &of = {});
    // How long start() waits for another run over the same folders, and what stops the wait.
    void setLockWait(std::chrono::milliseconds wait, std::function<bool()> stop = {});
    QString runId() const { return m_current.runId; }
    // What the run going (or the last one) does.
    KVRunKind runKind() const { return m_current.kind; }
    // Returns at once. The run ends when the changed photos are changed back.
    void cancel();
    // A disk of the run is gone: the run does not end, whatever its workers do, until it is
    // resumed or abandoned. Any thread.
    void hold();
    // Ends a held run without changing anything back; any thread.
    void abandon();
    // Goes on with the photos not yet changed, after a hold; any thread.
    void resumeAfterInterruption();

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

private:
    void setState(State state);
    void checkForEnd();
    void startChangingBack();
    void finish(KVRunRecord::End end);
    std::vector<KVSynchronizationOperationRef>
    makeOperations(const std::vector<KVPhotoChange> &changes,
                   const std::shared_ptr<KVRunJournal> &journal) const;
    static void collect(const std::vector<KVSynchronizationOperationRef> &operations,
                        std::vector<KVPhotoChangeResult> &changed,
                        std::vector<KVPhotoChangeResult> &notChanged,
                        std::vector<KVPhotoChangeResult> *unreached = nullptr);

    KVOperationQueue m_queue;
    std::atomic<State> m_state{State::Idle};
    std::atomic<bool> m_abandoned{false};
    std::atomic<bool> m_held{false};
    int m_workerCount;
    QString m_toolPath;
    EndHandler m_endHandler;
    Outcome m_current;
    std::optional<Outcome> m_lastOutcome;
    std::chrono::milliseconds m_lockWait{0};
    std::function<bool()> m_lockStop;
    std::unique_ptr<KVFolderLocks> m_folderLocks;
    std::shared_ptr<KVRunJournal> m_journal;
    std::shared_ptr<KVRunJournal> m_changeBackJournal;
    // Lets a notice posted to the main thread find out that the controller is gone.
    std::shared_ptr<int> m_alive = std::make_shared<int>(0);
};
