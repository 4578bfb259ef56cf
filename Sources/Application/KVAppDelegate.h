// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCameraSets.h"
#include "KVManualDateTimeViewController.h"
#include "KVMatchSuggester.h"
#include "KVReferenceSet.h"
#include "KVSyncController.h"
#include "KVUndoManager.h"
#include "KVVanishedFiles.h"

#include <QTimer>

#include <memory>
#include <mutex>
#include <thread>

// The hub of the application: the camera sets, the reference photo and the offsets, the Sync /
// Cancel command with undo and redo, what the window may do and show, and the photos that vanish.
// Everything a window does goes through here, so a test can do it without one.
// Observable keys: "imageFiles" and "isProcessingPathes" (passed on from its camera sets),
// "etalon", "isSynchronizationPossible", "isEnabledSynchronization", "isManualSetEnable",
// "fullScreenTitle".
class KVAppDelegate : public KVObservable, public KVObserver, public KVCameraSetsOwner {
    Q_DECLARE_TR_FUNCTIONS(KVAppDelegate)
public:
    enum class MenuAction { AddFiles, RemoveFiles, Terminate, VerboseLogging, Other };

    explicit KVAppDelegate(KVUserInterface *userInterface);
    ~KVAppDelegate() override;

    // The photos, by camera.
    KVCameraSets &cameraSets() { return m_cameraSets; }
    const KVCameraSets &cameraSets() const { return m_cameraSets; }
    KVCameraSetsRef imageFiles() const { return m_cameraSets.imageFiles(); }
    int numberOfCamerasInBrowser() const { return m_cameraSets.numberOfCamerasInBrowser(); }
    KVUserInterface *userInterface() const { return m_cameraSets.userInterface(); }

    // Launch and shell.
    void awakeFromNib();
    void applicationDidFinishLaunching(const QString &bundlePath);
    static QString toolPathForBundle(const QString &bundlePath);
    // False (after a beep) while busy: a run or an import is never cut off.
    bool applicationShouldTerminate();
    bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }
    bool windowShouldClose() const;
    // Why quitting or closing did nothing: a beep, and during a run a word on the display for a
    // moment before the progress comes back.
    void refuseToEndWhileBusy();
    KVUndoManager &undoManager();
    void verboseLogging();
    bool validateMenuItem(MenuAction action, bool *checkMark = nullptr) const;
    // For the window's own Undo and Redo items.
    bool validateUndoItem(bool redo) const;
    QString fullScreenTitle(bool isFullScreen) const;
    static QString mainSyncButtonTitle();
    static QString alternateSyncButtonTitle();

    // The reference and the offsets.
    KVImageFileRef etalon() const { return m_etalon; }
    void setEtalon(const KVImageFileRef &etalon);
    KVReferenceSet etalonWithSelectedImages() const;
    bool isValidSetOfImagesForTimeSynchronization(const KVReferenceSet &set) const;
    bool isSetOfImagesSynchrinizedAlready(const KVReferenceSet &set) const;
    void applyTimeIntervals(const KVTimeIntervals &intervals, const KVCameraSetsRef &imageFiles);
    void didSelectCameraIndex(int cameraIndex, int imageIndex, bool etalon);
    void didDeselectAllItemsAtCameraIndex(int cameraIndex);

    // Suggest Matches: marks the suggested reference photo (on the camera of referenceKey, else
    // the first) and each sure camera's photo of that moment, as clicks would, and shows them.
    void suggestMatches(const QString &referenceKey = QString());
    bool canSuggestMatches() const;
    KVMatchSuggester &matchSuggester() { return m_matchSuggester; }
    QString noteForCameraWithIndex(int index, bool *isWarning) const override;
    void imageFileDidChange(const QString &keyPath, KVImageFile *file) override;

    // The command and the window's state.
    void synchronizeTimeOrCancel();
    // Syncs each camera by its offset, with the checks of the Sync command; the offsets are
    // remembered per camera body, against the reference camera, once the run has ended.
    void synchronizeTimeIntervals(const KVTimeIntervals &intervals, const QString &referenceKey);
    bool isSynchronizationPossible() const;
    bool isProcessingPathes() const override;
    bool isEnabledSynchronization() const;
    bool isManualSetEnable() const;
    void chooseWhatToShowOnDisplay() override;
    // The report of photos a run did not change, each with its reason.
    void showNotChangedFiles(const std::vector<KVPhotoChangeResult> &results);
    // Every photo out of the window; a base date set by hand stays.
    void removeFiles();
    KVSyncController &syncController();
    KVOperationQueue &syncQueue() { return syncController().queue(); }
    // Asks whether to finish or change back each run a crash or a kill cut off, and does it.
    void offerRecoveryOfInterruptedRuns();
    KVManualDateTimeViewController &manualDateTimeViewController();
    // Just before the popover shows: it opens on the reference's date, or on now.
    void popoverWillShow();

    // Vanished files and disks.
    void fileDidRemove(const KVImageFileRef &file) { m_vanishedFiles.fileDidRemove(file); }
    void checkForRemovedFiles() { m_vanishedFiles.checkForRemovedFiles(); }
    void diskDidUnmount(const QString &devicePath) { m_vanishedFiles.diskDidUnmount(devicePath); }
    // Waits for the background hand-back after an unplugged disk, for tests and for quitting.
    void waitForDiskRecovery() { m_vanishedFiles.waitForRecovery(); }
    // Held by every walk over all photos.
    std::recursive_mutex &lock() { return m_lock; }

    QStringList keyPathsForValuesAffectingValueForKey(const QString &key) const override;
    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

private:
    void followReferenceRules(KVImageFile *file);
    void followManualDate();
    void operationCountDidChange();
    void runDidEnd(const KVSyncController::Outcome &outcome);
    // Starts the run that moves back what the run `runId` changed, from its journal, and
    // registers the run that moves it forth again.
    void startReverse(const QString &runId, KVRunKind kind);
    bool startRun(KVRunKind kind, std::vector<KVPhotoChange> changes, const QString &of = {});
    // The Sync command's check that every photo of the cameras is writable (the run itself
    // checks for room).
    bool canChangeCameras(const QStringList &keys);
    void runSynchronization(const KVTimeIntervals &intervals, const QString &referenceKey);

    KVImageFileRef m_etalon;
    std::unique_ptr<KVSyncController> m_syncController;
    std::unique_ptr<KVUndoManager> m_undoManager;
    std::unique_ptr<KVManualDateTimeViewController> m_manualDateTimeViewController;
    std::recursive_mutex m_lock;
    KVVanishedFiles m_vanishedFiles;
    KVMatchSuggester m_matchSuggester;
    // The reference camera and the offsets of the run going, remembered when it ends.
    QString m_runReferenceKey;
    KVTimeIntervals m_runIntervals;
    std::shared_ptr<int> m_lifeToken = std::make_shared<int>(0);
    // Last, so that it goes first: its last notices still reach a whole delegate.
    KVCameraSets m_cameraSets;
};
