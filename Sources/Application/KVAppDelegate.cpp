// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAppDelegate.h"

#include "KVCameraOffsetMemory.h"
#include "KVDispatch.h"
#include "KVFileName.h"
#include "KVFileReportContent.h"
#include "KVInvocationOperation.h"
#include "KVKeyPath.h"
#include "KVLog.h"
#include "KVPhotoWriter.h"
#include "KVRunRecovery.h"
#include "KVURLExtensions.h"
#include "KVUserDefaults.h"
#include "KVVolumes.h"
#include "KVWallClock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <cmath>
#include <unordered_set>

namespace {

// How long the display says why a quit or a close was refused.
constexpr double kKVRefusalShownSeconds = 2.5;

} // namespace

KVAppDelegate::KVAppDelegate(KVUserInterface *userInterface)
    : m_vanishedFiles(*this)
    , m_cameraSets(userInterface, this) {
    m_cameraSets.addObserver(this, KVKeyPath::imageFiles);
    m_cameraSets.addObserver(this, KVKeyPath::isProcessingPathes);
}

KVAppDelegate::~KVAppDelegate() {
    m_cameraSets.finishModelWork();
    m_cameraSets.removeObserver(this);
    m_vanishedFiles.waitForRecovery();
    if (m_syncController) {
        m_syncController->removeObserver(this, KVKeyPath::runState);
        m_syncController->queue().removeObserver(this, KVKeyPath::operationCount);
        m_syncController->setEndHandler({});
    }
    if (m_manualDateTimeViewController)
        m_manualDateTimeViewController->removeObserver(this);
}

void KVAppDelegate::awakeFromNib() {
    if (KVUserInterface *ui = userInterface()) {
        ui->setSyncButtonTitle(mainSyncButtonTitle());
        ui->setStartViewShown(true);
    }
    chooseWhatToShowOnDisplay();
}

QString KVAppDelegate::toolPathForBundle(const QString &bundlePath) {
    return QDir(bundlePath).filePath(QStringLiteral("Contents/Frameworks/exiftool"));
}

void KVAppDelegate::applicationDidFinishLaunching(const QString &bundlePath) {
    KVUserDefaults::standardUserDefaults().registerDefaults(
        {{KVUserDefaults::verboseLoggingKey, false}});
    KVSetToolPath(toolPathForBundle(bundlePath));
    std::weak_ptr<int> alive = m_lifeToken;
    KVVolumes::setUnmountHandler([this, alive](const QString &devicePath) {
        if (alive.lock())
            diskDidUnmount(devicePath);
    });
    KVImageFile::setRemovalHandler([this, alive](const KVImageFileRef &file) {
        if (alive.lock())
            fileDidRemove(file);
    });
    m_vanishedFiles.scheduleChecks();
    offerRecoveryOfInterruptedRuns();
}

void KVAppDelegate::offerRecoveryOfInterruptedRuns() {
    KVUserInterface *ui = userInterface();
    const std::vector<KVRunRecord> runs =
        KVRunRecovery::interruptedRuns(KVRunRecovery::Mode::ChangeBack);
    if (runs.empty() || !ui)
        return;
    // Changing back is the last button: what an alert answered by Escape does.
    const int answer =
        ui->runAlert(tr("A run was cut off before it ended"),
                     tr("Kalvora was stopped while it changed these photos:\n%1\nFinish the run, "
                        "or change its photos back to the dates they had before it?")
                         .arg(KVRunRecovery::describe(runs)),
                     {tr("Finish"), tr("Change Back")});
    const KVRunRecovery::Mode mode =
        answer == 0 ? KVRunRecovery::Mode::Finish : KVRunRecovery::Mode::ChangeBack;
    m_cameraSets.lockUI();
    // On the model queue, so that the window stays alive; it counts as busy meanwhile.
    m_cameraSets.queue().addOperation(std::make_shared<KVInvocationOperation>([this, mode] {
        const std::vector<KVRunRecovery::Result> results =
            KVRunRecovery::settleAll(mode, KVToolPath());
        QList<QVariantMap> failed;
        for (const KVRunRecovery::Result &result : results) {
            for (const KVRunRecovery::Photo &photo : result.photos) {
                if (photo.result == KVRunRecovery::Photo::Result::Failed)
                    failed << QVariantMap{
                        {QStringLiteral("name"), KVFileName::displayedName(photo.path)},
                        {QStringLiteral("path"), photo.path},
                        {QStringLiteral("error"), photo.reason}};
            }
        }
        m_cameraSets.dispatchMain([this, failed] {
            m_cameraSets.unlockUI();
            if (!failed.isEmpty() && userInterface())
                userInterface()->showFileReport(KVUserInterface::NotChangedFiles, failed);
            chooseWhatToShowOnDisplay();
        });
        return QVariant();
    }));
}

bool KVAppDelegate::applicationShouldTerminate() {
    if (!isProcessingPathes())
        return true;
    refuseToEndWhileBusy();
    return false;
}

void KVAppDelegate::refuseToEndWhileBusy() {
    KVUserInterface *ui = userInterface();
    if (!ui)
        return;
    ui->beep();
    if (!m_syncController || !m_syncController->isBusy())
        return;
    ui->displayString(tr("Kalvora is syncing — Cancel first"));
    m_cameraSets.dispatchMainAfter(kKVRefusalShownSeconds, [this] {
        // A run that ended meanwhile has put its own word on the display.
        if (m_syncController && m_syncController->isBusy())
            chooseWhatToShowOnDisplay();
    });
}

bool KVAppDelegate::windowShouldClose() const {
    return !isProcessingPathes();
}

KVUndoManager &KVAppDelegate::undoManager() {
    if (!m_undoManager)
        m_undoManager = std::make_unique<KVUndoManager>();
    return *m_undoManager;
}

void KVAppDelegate::verboseLogging() {
    KVUserDefaults &defaults = KVUserDefaults::standardUserDefaults();
    defaults.setBool(!defaults.verboseConsole(), KVUserDefaults::verboseLoggingKey);
}

bool KVAppDelegate::validateMenuItem(MenuAction action, bool *checkMark) const {
    const bool busy = isProcessingPathes();
    switch (action) {
    case MenuAction::AddFiles:
    case MenuAction::Terminate:
        return !busy;
    case MenuAction::RemoveFiles:
        return !busy && numberOfCamerasInBrowser() > 0;
    case MenuAction::VerboseLogging:
        if (checkMark)
            *checkMark = KVUserDefaults::standardUserDefaults().verboseConsole();
        return true;
    case MenuAction::Other:
        break;
    }
    return true;
}

bool KVAppDelegate::validateUndoItem(bool redo) const {
    if (isProcessingPathes() || !m_undoManager)
        return false;
    return redo ? m_undoManager->canRedo() : m_undoManager->canUndo();
}

// Looked up on every call, in the language installed now, never kept from an earlier one.
QString KVAppDelegate::fullScreenTitle(bool isFullScreen) const {
    return isFullScreen ? tr("Exit Full Screen") : tr("Enter Full Screen");
}

QString KVAppDelegate::mainSyncButtonTitle() {
    return tr("Sync Time");
}

QString KVAppDelegate::alternateSyncButtonTitle() {
    return tr("Cancel Syncing");
}

void KVAppDelegate::setEtalon(const KVImageFileRef &etalon) {
    if (etalon == m_etalon)
        return;
    // A photo chosen as the reference replaces a base date set by hand.
    if (etalon && !etalon->url().isEmpty() && m_manualDateTimeViewController &&
        m_manualDateTimeViewController->isEtalonDateSet())
        m_manualDateTimeViewController->setIsEtalonDateSet(false);
    m_etalon = etalon;
    didChangeValueForKey(KVKeyPath::etalon);
    chooseWhatToShowOnDisplay();
}

KVReferenceSet KVAppDelegate::etalonWithSelectedImages() const {
    return KVReferenceSet::gather(imageFiles(), m_etalon);
}

bool KVAppDelegate::isValidSetOfImagesForTimeSynchronization(const KVReferenceSet &set) const {
    return set.isValidForTimeSynchronization();
}

bool KVAppDelegate::isSetOfImagesSynchrinizedAlready(const KVReferenceSet &set) const {
    return set.isSynchronizedAlready();
}

void KVAppDelegate::applyTimeIntervals(const KVTimeIntervals &intervals,
                                       const KVCameraSetsRef &imageFiles) {
    std::vector<KVPhotoChange> changes;
    std::unordered_set<KVImageFileRef, KVImageFileHash, KVImageFileEqual> seen;
    for (const auto &[key, interval] : intervals) {
        if (!imageFiles || !imageFiles->count(key) || !std::isfinite(interval) ||
            std::fabs(interval) > 1e12)
            continue;
        const qint64 seconds = std::llround(interval);
        for (const KVImageFileRef &file : imageFiles->at(key)) {
            if (file && !file->path().isEmpty() && seen.insert(file).second)
                changes.push_back(KVSyncController::changeFor(file, seconds));
        }
    }
    if (startRun(KVRunKind::Sync, std::move(changes))) {
        if (KVUserInterface *ui = userInterface())
            ui->setSyncButtonTitle(alternateSyncButtonTitle());
    }
}

bool KVAppDelegate::startRun(KVRunKind kind, std::vector<KVPhotoChange> changes,
                             const QString &of) {
    KVSyncController &controller = syncController();
    const std::optional<KVSyncController::Refusal> refusal =
        controller.start(kind, std::move(changes), of);
    KVUserInterface *ui = userInterface();
    if (refusal) {
        if (ui) {
            const bool room = refusal->reason == KVSyncController::Refusal::Reason::NoRoom;
            ui->runAlert(room ? tr("Not enough disk space to sync photos")
                              : tr("Cannot change time and date"),
                         refusal->text, {tr("OK")});
        }
        return false;
    }
    m_cameraSets.lockUI();
    if (ui)
        ui->displaySyncProcess();
    return true;
}

void KVAppDelegate::startReverse(const QString &runId, KVRunKind kind) {
    const std::optional<KVRunRecord> run = KVRunRecord::read(
        KVRunJournal::folder() + QLatin1Char('/') + runId + QStringLiteral(".jsonl"));
    if (!run)
        return;
    // The window's records of these photos follow the run, so they are found by path.
    std::map<QString, KVImageFileRef> records;
    KVCameraSets::forEachImageFile(
        imageFiles(), [&](const KVImageFileRef &file) { records.emplace(file->path(), file); });
    std::vector<KVPhotoChange> changes = KVSyncController::revertingChanges(*run);
    for (KVPhotoChange &change : changes) {
        const auto record = records.find(change.identity.path);
        if (record != records.end())
            change.file = record->second;
    }
    if (!startRun(kind, std::move(changes), runId))
        return;
    const QString reverseId = syncController().runId();
    const KVRunKind back = kind == KVRunKind::Undo ? KVRunKind::Redo : KVRunKind::Undo;
    undoManager().registerUndo([this, reverseId, back] { startReverse(reverseId, back); });
}

void KVAppDelegate::didSelectCameraIndex(int cameraIndex, int imageIndex, bool etalon) {
    if (!etalon)
        return;
    const std::vector<KVImageFileRef> &files = m_cameraSets.cameraImagesWithIndex(cameraIndex);
    if (imageIndex >= 0 && imageIndex < static_cast<int>(files.size()))
        setEtalon(files[imageIndex]);
}

void KVAppDelegate::didDeselectAllItemsAtCameraIndex(int cameraIndex) {
    // A base date set by hand is keyed "No Name" too, so deselecting that camera clears it.
    if (m_etalon && m_cameraSets.sortedCameras().value(cameraIndex) == m_etalon->fullCameraName())
        setEtalon(nullptr);
}

bool KVAppDelegate::canSuggestMatches() const {
    return numberOfCamerasInBrowser() >= 2 && !isProcessingPathes();
}

void KVAppDelegate::suggestMatches(const QString &referenceKey) {
    if (!canSuggestMatches())
        return;
    const KVCameraSetsRef files = imageFiles();
    const KVSuggestedMatches &suggestion = m_matchSuggester.suggest(files, referenceKey);
    if (KVUserDefaults::standardUserDefaults().verboseConsole()) {
        QStringList described;
        for (const KVSuggestedMatches::Camera &camera : suggestion.cameras)
            described << QStringLiteral("%1 = %2 (%3)")
                             .arg(camera.key)
                             .arg(camera.offset)
                             .arg(camera.confidence, 0, 'f', 2);
        KVLog(QStringLiteral("Suggested against %1 {%2}")
                  .arg(suggestion.referenceKey, described.join(QStringLiteral("; "))));
    }
    if (KVUserInterface *ui = userInterface()) {
        // The rows are made anew for their notes, then each is brought to its marked photo.
        ui->reloadBrowser();
        ui->showPhotosInBrowser(m_matchSuggester.markedPhotos());
        if (!suggestion.referencePhoto)
            ui->displayString(tr("No sure match found:\nmatch the photos by hand"));
    }
}

QString KVAppDelegate::noteForCameraWithIndex(int index, bool *isWarning) const {
    return m_matchSuggester.noteForCamera(imageFiles(), m_cameraSets.sortedCameras().value(index),
                                          isWarning);
}

void KVAppDelegate::synchronizeTimeOrCancel() {
    KVUserInterface *ui = userInterface();
    if (m_syncController && m_syncController->isBusy()) {
        // Returns at once; the run ends when what it changed is changed back. An undo or a
        // redo has no Cancel button.
        if (m_syncController->state() == KVSyncController::State::Running &&
            m_syncController->runKind() == KVRunKind::Sync) {
            if (ui)
                ui->setSyncButtonTitle(mainSyncButtonTitle());
            m_syncController->cancel();
        }
        return;
    }

    const KVReferenceSet set = etalonWithSelectedImages();
    QStringList keys;
    for (const auto &[key, selected] : set.selectedImages)
        keys << key;
    if (!canChangeCameras(keys))
        return;
    KVLogVerbose(QStringLiteral("Sync clicked"));
    if (!isValidSetOfImagesForTimeSynchronization(set))
        return;
    if (isSetOfImagesSynchrinizedAlready(set)) {
        if (ui)
            ui->displayString(tr("Selected images have already synchronized"));
        m_cameraSets.dispatchMainAfter(3.0, [this] { chooseWhatToShowOnDisplay(); });
        return;
    }
    // A base time typed by hand is no camera whose offset could be remembered.
    runSynchronization(set.timeIntervals(),
                       set.etalon->url().isEmpty() ? QString() : set.etalon->fullCameraName());
}

void KVAppDelegate::synchronizeTimeIntervals(const KVTimeIntervals &intervals,
                                             const QString &referenceKey) {
    if (intervals.empty() || isProcessingPathes())
        return;
    QStringList keys;
    for (const auto &[key, interval] : intervals)
        keys << key;
    if (canChangeCameras(keys))
        runSynchronization(intervals, referenceKey);
}

bool KVAppDelegate::canChangeCameras(const QStringList &keys) {
    KVUserInterface *ui = userInterface();
    const KVCameraSetsRef cameras = imageFiles();
    for (const QString &key : keys) {
        if (!cameras || !cameras->count(key))
            continue;
        for (const KVImageFileRef &file : cameras->at(key)) {
            if (!KVURLExtensions::isFileWritable(file->url())) {
                if (ui)
                    ui->runAlert(tr("Cannot change time and date"),
                                 tr("Some of the photos may be read-only, or you may not have "
                                    "permission to change them. Allow writing to these files, "
                                    "for example in the file manager's Properties, and then try "
                                    "again."),
                                 {tr("OK")});
                return false;
            }
        }
    }
    return true;
}

void KVAppDelegate::runSynchronization(const KVTimeIntervals &intervals,
                                       const QString &referenceKey) {
    const KVCameraSetsRef snapshot = m_cameraSets.copyImageFiles();
    if (KVUserDefaults::standardUserDefaults().verboseConsole()) {
        QStringList described;
        for (const auto &[key, interval] : intervals)
            described << QStringLiteral("%1 = %2").arg(key).arg(interval);
        KVLog(QStringLiteral("Calling apply {%1}").arg(described.join(QStringLiteral("; "))));
    }
    // The suggestions were about the dates before the run.
    m_matchSuggester.clear();
    m_runReferenceKey = referenceKey;
    m_runIntervals = intervals;
    applyTimeIntervals(intervals, snapshot);
}

bool KVAppDelegate::isSynchronizationPossible() const {
    return isValidSetOfImagesForTimeSynchronization(etalonWithSelectedImages());
}

bool KVAppDelegate::isProcessingPathes() const {
    return m_cameraSets.isReadingFiles() || (m_syncController && m_syncController->isBusy());
}

bool KVAppDelegate::isEnabledSynchronization() const {
    // A sync can be cancelled while it goes; a cancel itself always runs to its end.
    if (m_syncController && m_syncController->state() == KVSyncController::State::Running &&
        m_syncController->runKind() == KVRunKind::Sync)
        return true;
    if (isProcessingPathes())
        return false;
    return isSynchronizationPossible();
}

bool KVAppDelegate::isManualSetEnable() const {
    // A base date kept after Remove All can still be changed or switched off.
    const bool manualModeOn = m_etalon && m_etalon->url().isEmpty();
    return (numberOfCamerasInBrowser() > 0 || manualModeOn) && !isProcessingPathes();
}

void KVAppDelegate::chooseWhatToShowOnDisplay() {
    KVUserInterface *ui = userInterface();
    if (!ui)
        return;
    if (m_syncController && m_syncController->isBusy())
        ui->displaySyncProcess();
    else if (m_etalon)
        ui->displayImageFile(m_etalon);
    else
        m_cameraSets.displayHint();
}

void KVAppDelegate::showNotChangedFiles(const std::vector<KVPhotoChangeResult> &results) {
    QList<QVariantMap> records;
    for (const KVPhotoChangeResult &result : results) {
        const QString path = result.change.identity.path;
        records << QVariantMap{{QStringLiteral("name"), KVFileName::displayedName(path)},
                               {QStringLiteral("path"), path},
                               {QStringLiteral("error"), result.outcome.reason}};
    }
    const KVFileReportContent content =
        KVFileReportContent::setUp(KVUserInterface::NotChangedFiles);
    if (KVUserInterface *ui = userInterface())
        ui->showFileReport(content.type, records);
}

void KVAppDelegate::removeFiles() {
    // A base date set by hand survives clearing the photos.
    if (m_etalon && !m_etalon->url().isEmpty())
        setEtalon(nullptr);
    m_matchSuggester.clear();
    undoManager().removeAllActions();
    m_cameraSets.removeFiles();
}

KVSyncController &KVAppDelegate::syncController() {
    if (!m_syncController) {
        m_syncController = std::make_unique<KVSyncController>();
        m_syncController->addObserver(this, KVKeyPath::runState);
        m_syncController->queue().addObserver(this, KVKeyPath::operationCount);
        m_syncController->setEndHandler(
            [this](const KVSyncController::Outcome &outcome) { runDidEnd(outcome); });
    }
    return *m_syncController;
}

KVManualDateTimeViewController &KVAppDelegate::manualDateTimeViewController() {
    if (!m_manualDateTimeViewController) {
        m_manualDateTimeViewController = std::make_unique<KVManualDateTimeViewController>();
        m_manualDateTimeViewController->addObserver(this, KVKeyPath::isEtalonDateSet);
        m_manualDateTimeViewController->addObserver(this, KVKeyPath::fullDate);
    }
    return *m_manualDateTimeViewController;
}

void KVAppDelegate::popoverWillShow() {
    manualDateTimeViewController().setFullDate(m_etalon ? m_etalon->creationDate()
                                                        : KVWallClock::currentDateTime());
}

QStringList KVAppDelegate::keyPathsForValuesAffectingValueForKey(const QString &key) const {
    QStringList keys = KVObservable::keyPathsForValuesAffectingValueForKey(key);
    if (key == KVKeyPath::isSynchronizationPossible)
        keys << KVKeyPath::imageFiles << KVKeyPath::etalon;
    else if (key == KVKeyPath::isEnabledSynchronization)
        keys << KVKeyPath::isSynchronizationPossible << KVKeyPath::isProcessingPathes;
    else if (key == KVKeyPath::fullScreenTitle)
        keys << KVKeyPath::windowStyleMask;
    else if (key == KVKeyPath::isManualSetEnable)
        keys << KVKeyPath::imageFiles << KVKeyPath::isProcessingPathes << KVKeyPath::etalon;
    return keys;
}

void KVAppDelegate::observeValueForKeyPath(const QString &keyPath, KVObservable *) {
    if (keyPath == KVKeyPath::runState) {
        didChangeValueForKey(KVKeyPath::isProcessingPathes);
    } else if (keyPath == KVKeyPath::operationCount) {
        operationCountDidChange();
    } else if (keyPath == KVKeyPath::imageFiles || keyPath == KVKeyPath::isProcessingPathes) {
        // The camera sets' own changes are the delegate's too.
        didChangeValueForKey(keyPath);
    } else if (keyPath == KVKeyPath::isEtalonDateSet || keyPath == KVKeyPath::fullDate) {
        followManualDate();
    }
}

void KVAppDelegate::imageFileDidChange(const QString &keyPath, KVImageFile *file) {
    if (keyPath == KVKeyPath::imageState) {
        didChangeValueForKey(KVKeyPath::isSynchronizationPossible);
        if (KVIsMainThread())
            followReferenceRules(file);
        else
            m_cameraSets.dispatchMain(
                [this, self = file->shared_from_this()] { followReferenceRules(self.get()); });
    } else if (keyPath == KVKeyPath::url) {
        m_cameraSets.dispatchMain([this, self = file->shared_from_this()] {
            if (self == m_etalon && userInterface())
                userInterface()->displayImageFile(m_etalon);
        });
    }
}

void KVAppDelegate::followReferenceRules(KVImageFile *file) {
    const KVImageState state = file->imageState();
    if (state == KVImageStateEtalon) {
        setEtalon(file->shared_from_this());
    } else if (m_etalon.get() == file) {
        setEtalon(nullptr);
    }
}

void KVAppDelegate::followManualDate() {
    KVManualDateTimeViewController &controller = manualDateTimeViewController();
    if (controller.isEtalonDateSet()) {
        const QDateTime date = controller.fullDate();
        if (!date.isValid())
            return;
        KVImageFileRef manual = KVImageFile::initWithDate(date);
        // Deliberately, a reference photo becomes its camera's matching photo, so that camera
        // is shifted to the base date too.
        if (m_etalon && !m_etalon->url().isEmpty())
            m_etalon->setImageState(KVImageStateSelected);
        setEtalon(manual);
    } else if (m_etalon && m_etalon->url().isEmpty()) {
        setEtalon(nullptr);
    }
}

void KVAppDelegate::operationCountDidChange() {
    didChangeValueForKey(KVKeyPath::isProcessingPathes);
    m_cameraSets.dispatchMain([this] {
        KVUserInterface *ui = userInterface();
        if (ui && isProcessingPathes() && ui->isCloseButtonEnabled())
            ui->setCloseButtonEnabled(false);
    });
}

void KVAppDelegate::runDidEnd(const KVSyncController::Outcome &outcome) {
    if (m_cameraSets.queue().operationCount() == 0)
        m_cameraSets.unlockUI();
    KVUserInterface *ui = userInterface();
    if (ui) {
        ui->setSyncButtonTitle(mainSyncButtonTitle());
        ui->reloadBrowser();
    }
    const bool forward = outcome.kind == KVRunKind::Sync;
    if (outcome.end == KVRunRecord::End::Cancelled) {
        chooseWhatToShowOnDisplay();
        // Photos that kept their new dates after all are the ones to know about.
        if (!outcome.notChangedBack.empty())
            showNotChangedFiles(outcome.notChangedBack);
        return;
    }
    // The next event with these bodies starts from what their clocks were off by.
    if (forward && outcome.end == KVRunRecord::End::Finished && !outcome.changed.empty())
        KVCameraOffsetMemory().remember(m_runIntervals, m_runReferenceKey,
                                        QDateTime::currentDateTimeUtc());
    // Undo moves back exactly what this run changed, each photo by its own shift.
    if (forward && !outcome.changed.empty()) {
        const QString runId = outcome.runId;
        undoManager().registerUndo([this, runId] { startReverse(runId, KVRunKind::Undo); });
    }
    if (outcome.isComplete()) {
        if (ui && forward)
            ui->displayString(tr("Your photos have been synced\nsuccessfully!"));
        m_cameraSets.dispatchMainAfter(forward ? 3.0 : 0.0,
                                       [this] { chooseWhatToShowOnDisplay(); });
        return;
    }
    if (ui)
        ui->displayString(tr("Syncing has not been completed"));
    m_cameraSets.dispatchMainAfter(3.0, [this] { chooseWhatToShowOnDisplay(); });
    // An abandoned run never reached some photos: they are not changed either.
    std::vector<KVPhotoChangeResult> notChanged = outcome.notChanged;
    notChanged.insert(notChanged.end(), outcome.unreached.begin(), outcome.unreached.end());
    if (!notChanged.empty())
        showNotChangedFiles(notChanged);
}
