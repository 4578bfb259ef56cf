// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAppDelegate.h"

#include "KVCameraOffsetMemory.h"
#include "KVPhotoWriter.h"
#include "KVDispatch.h"
#include "KVFileReportContent.h"
#include "KVLog.h"
#include "KVURLExtensions.h"
#include "KVUserDefaults.h"
#include "KVVolumes.h"

#include <QCoreApplication>
#include <QDir>

namespace {

QString tr(const char *text) {
    return QCoreApplication::translate("KVAppDelegate", text);
}

// Anything below 30 MiB is too little room for the tool's copy of a photo.
constexpr qint64 kKVMinimumFreeSize = 31457280;

} // namespace

KVAppDelegate::KVAppDelegate(KVUserInterface *userInterface)
    : KVCameraSets(userInterface)
    , m_vanishedFiles(*this) {
}

KVAppDelegate::~KVAppDelegate() {
    finishModelWork();
    m_vanishedFiles.waitForRecovery();
    if (m_syncQueue) {
        m_syncQueue->waitUntilAllOperationsAreFinished();
        m_syncQueue->removeObserver(this);
    }
    if (m_manualDateTimeViewController)
        m_manualDateTimeViewController->removeObserver(this);
    std::lock_guard lock(m_syncOperationsMutex);
    for (const KVSynchronizationOperationRef &operation : m_watchedSyncOperations)
        operation->removeObserver(this);
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
    KVSetToolPath(toolPathForBundle(bundlePath).toUtf8().constData());
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
}

bool KVAppDelegate::applicationShouldTerminate() {
    if (!isProcessingPathes())
        return true;
    if (KVUserInterface *ui = userInterface())
        ui->beep();
    return false;
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

QString KVAppDelegate::fullScreenTitle(bool isFullScreen) const {
    static const QString inFullScreenTitle = tr("Enter Full Screen");
    static const QString outFullScreenTitle = tr("Exit Full Screen");
    return isFullScreen ? outFullScreenTitle : inFullScreenTitle;
}

QString KVAppDelegate::mainSyncButtonTitle() {
    static const QString title = tr("Sync Time");
    return title;
}

QString KVAppDelegate::alternateSyncButtonTitle() {
    static const QString title = tr("Cancel Syncing");
    return title;
}

void KVAppDelegate::setEtalon(const KVImageFileRef &etalon) {
    if (etalon == m_etalon)
        return;
    // A photo chosen as the reference replaces a base date set by hand.
    if (etalon && !etalon->url().isEmpty() && m_manualDateTimeViewController &&
        m_manualDateTimeViewController->isEtalonDateSet())
        m_manualDateTimeViewController->setIsEtalonDateSet(false);
    m_etalon = etalon;
    didChangeValueForKey(QStringLiteral("etalon"));
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
    lockUI();
    KVOperationQueue &queue = syncQueue();
    queue.reset();
    KVUndoManager &undo = undoManager();
    const bool undoing = undo.isUndoing();
    const bool redoing = undo.isRedoing();
    queue.setOperationType(undoing ? KVOperationTypeUndo
                                   : (redoing ? KVOperationTypeRedo : KVOperationTypeSync));
    if (KVUserInterface *ui = userInterface()) {
        ui->displaySyncProcess();
        if (!undoing && !redoing)
            ui->setSyncButtonTitle(alternateSyncButtonTitle());
    }

    KVTimeIntervals inverse;
    for (const auto &[key, interval] : intervals) {
        const auto camera =
            imageFiles ? imageFiles->find(key) : KVCameraSetDictionary::const_iterator();
        const std::vector<KVImageFileRef> files = imageFiles && camera != imageFiles->end()
                                                      ? camera->second
                                                      : std::vector<KVImageFileRef>();
        auto operation = std::make_shared<KVSynchronizationOperation>(interval, files);
        {
            std::lock_guard lock(m_syncOperationsMutex);
            m_watchedSyncOperations.push_back(operation);
        }
        operation->addObserver(this, QStringLiteral("isFinished"));
        queue.addSynchronizationOperation(operation);
        inverse[key] = -interval;
    }

    auto registerInverse = [this, inverse, imageFiles] {
        undoManager().registerUndo(
            [this, inverse, imageFiles] { applyTimeIntervals(inverse, imageFiles); });
    };
    if (!undoing && !redoing) {
        // Undo becomes possible only once the run has gone to its end.
        queue.setCompletetionBlock([this, registerInverse, intervals,
                                    reference = m_runReferenceKey] {
            registerInverse();
            // The next event with these bodies starts from what their clocks were off by.
            KVCameraOffsetMemory().remember(intervals, reference, QDateTime::currentDateTimeUtc());
            if (KVUserInterface *ui = userInterface())
                ui->displayString(tr("Your photos have been synced\nsuccessfully!"));
            dispatchMainAfter(3.0, [this] { chooseWhatToShowOnDisplay(); });
        });
    } else {
        registerInverse();
        queue.setCompletetionBlock([this] { chooseWhatToShowOnDisplay(); });
    }
    queue.startSynchronization();
}

void KVAppDelegate::didSelectCameraIndex(int cameraIndex, int imageIndex, bool etalon) {
    if (!etalon)
        return;
    const std::vector<KVImageFileRef> &files = cameraImagesWithIndex(cameraIndex);
    if (imageIndex >= 0 && imageIndex < static_cast<int>(files.size()))
        setEtalon(files[imageIndex]);
}

void KVAppDelegate::didDeselectAllItemsAtCameraIndex(int cameraIndex) {
    // A base date set by hand is keyed "No Name" too, so deselecting that camera clears it.
    if (m_etalon && sortedCameras().value(cameraIndex) == m_etalon->fullCameraName())
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
    return m_matchSuggester.noteForCamera(imageFiles(), sortedCameras().value(index), isWarning);
}

void KVAppDelegate::synchronizeTimeOrCancel() {
    KVUserInterface *ui = userInterface();
    if (ui && ui->syncButtonTitle() == alternateSyncButtonTitle()) {
        ui->setSyncButtonTitle(mainSyncButtonTitle());
        syncQueue().setCompletetionBlock(nullptr);
        syncQueue().cancelAllOperations();
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
        dispatchMainAfter(3.0, [this] { chooseWhatToShowOnDisplay(); });
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
                                 tr("Some of the photos may be locked, or you may not have "
                                    "sufficient privileges to edit them. Try unlocking these files "
                                    "or changing their privileges to \"Read & Write\" in the "
                                    "Finder, and then try again."),
                                 {tr("OK")});
                return false;
            }
            const std::optional<qint64> free = KVVolumes::freeSize(file->path());
            if (free && *free < kKVMinimumFreeSize) {
                if (ui)
                    ui->runAlert(tr("Not enough disk space to sync photos"),
                                 tr("Free some disk space and try again."), {tr("OK")});
                return false;
            }
        }
    }
    return true;
}

void KVAppDelegate::runSynchronization(const KVTimeIntervals &intervals,
                                       const QString &referenceKey) {
    const KVCameraSetsRef snapshot = copyImageFiles();
    if (KVUserDefaults::standardUserDefaults().verboseConsole()) {
        QStringList described;
        for (const auto &[key, interval] : intervals)
            described << QStringLiteral("%1 = %2").arg(key).arg(interval);
        KVLog(QStringLiteral("Calling apply {%1}").arg(described.join(QStringLiteral("; "))));
    }
    // The suggestions were about the dates before the run.
    m_matchSuggester.clear();
    m_runReferenceKey = referenceKey;
    applyTimeIntervals(intervals, snapshot);
}

bool KVAppDelegate::isSynchronizationPossible() const {
    return isValidSetOfImagesForTimeSynchronization(etalonWithSelectedImages());
}

bool KVAppDelegate::isProcessingPathes() const {
    return KVCameraSets::isProcessingPathes() ||
           (m_syncQueue && m_syncQueue->isSynchronizationInProcess());
}

bool KVAppDelegate::isEnabledSynchronization() const {
    // Cancelling is always possible.
    const KVUserInterface *ui = userInterface();
    if (ui && ui->syncButtonTitle() != mainSyncButtonTitle())
        return true;
    if (isProcessingPathes())
        return false;
    return isSynchronizationPossible();
}

bool KVAppDelegate::isManualSetEnable() const {
    return numberOfCamerasInBrowser() > 0 && !isProcessingPathes();
}

void KVAppDelegate::chooseWhatToShowOnDisplay() {
    KVUserInterface *ui = userInterface();
    if (!ui)
        return;
    if (m_syncQueue && m_syncQueue->isSynchronizationInProcess())
        ui->displaySyncProcess();
    else if (m_etalon)
        ui->displayImageFile(m_etalon);
    else
        KVCameraSets::chooseWhatToShowOnDisplay();
}

void KVAppDelegate::showNotAddedFiles(const QList<QVariantMap> &records) {
    const KVFileReportContent content = KVFileReportContent::setUp(KVUserInterface::NotAddedFiles);
    if (KVUserInterface *ui = userInterface())
        ui->showFileReport(content.type, records);
}

void KVAppDelegate::showNotChangedFiles(const QList<QUrl> &files) {
    QList<QVariantMap> records;
    for (const QUrl &url : files)
        records << QVariantMap{{QStringLiteral("path"), url.toLocalFile()}};
    // This report's set-up fails (see KVFileReportContent); the error leaves here, and the event
    // loop's handler logs it.
    const KVFileReportContent content =
        KVFileReportContent::setUp(KVUserInterface::NotChangedFiles);
    if (KVUserInterface *ui = userInterface())
        ui->showFileReport(content.type, records);
}

void KVAppDelegate::removeFiles() {
    // A base date set by hand survives clearing the photos.
    if (m_etalon && !m_etalon->url().isEmpty())
        setEtalon(nullptr);
    setImageFiles(nullptr);
    m_matchSuggester.clear();
    undoManager().removeAllActions();
    chooseWhatToShowOnDisplay();
    if (KVUserInterface *ui = userInterface()) {
        ui->reloadBrowser();
        ui->setStartViewShown(true);
        ui->closeManualDatePopover();
    }
}

KVOperationQueue &KVAppDelegate::syncQueue() {
    if (!m_syncQueue) {
        m_syncQueue = std::make_unique<KVOperationQueue>();
        m_syncQueue->addObserver(this, QStringLiteral("isSynchronizationInProcess"));
        m_syncQueue->addObserver(this, QStringLiteral("operationCount"));
    }
    return *m_syncQueue;
}

KVManualDateTimeViewController &KVAppDelegate::manualDateTimeViewController() {
    if (!m_manualDateTimeViewController) {
        m_manualDateTimeViewController = std::make_unique<KVManualDateTimeViewController>();
        m_manualDateTimeViewController->addObserver(this, QStringLiteral("isEtalonDateSet"));
        m_manualDateTimeViewController->addObserver(this, QStringLiteral("fullDate"));
    }
    return *m_manualDateTimeViewController;
}

void KVAppDelegate::popoverWillShow() {
    manualDateTimeViewController().setFullDate(m_etalon ? m_etalon->creationDate()
                                                        : QDateTime::currentDateTime());
}

QStringList KVAppDelegate::keyPathsForValuesAffectingValueForKey(const QString &key) const {
    return KVCameraSets::keyPathsForValuesAffectingValueForKey(key);
}

void KVAppDelegate::observeValueForKeyPath(const QString &keyPath, KVObservable *object) {
    if (keyPath == QLatin1String("isFinished")) {
        KVSynchronizationOperationRef operation;
        {
            std::lock_guard lock(m_syncOperationsMutex);
            auto it =
                std::find_if(m_watchedSyncOperations.begin(), m_watchedSyncOperations.end(),
                             [&](const auto &candidate) { return candidate.get() == object; });
            if (it != m_watchedSyncOperations.end()) {
                operation = *it;
                m_watchedSyncOperations.erase(it);
            }
        }
        if (!operation)
            return KVCameraSets::observeValueForKeyPath(keyPath, object);
        operation->removeObserver(this, keyPath);
        const QList<QUrl> notChanged = operation->notChangedFiles();
        if (!notChanged.isEmpty()) {
            dispatchMain([this, notChanged] {
                try {
                    showNotChangedFiles(notChanged);
                } catch (const std::exception &error) {
                    KVLog(QString::fromUtf8(error.what()));
                }
            });
        }
    } else if (keyPath == QLatin1String("operationCount")) {
        operationCountDidChange(static_cast<KVBaseOperationQueue *>(object));
    } else if (keyPath == QLatin1String("isSynchronizationInProcess")) {
        if (!m_syncQueue || m_syncQueue->isSynchronizationInProcess())
            return;
        dispatchMain([this] { synchronizationDidEnd(); });
    } else if (keyPath == QLatin1String("imageState")) {
        didChangeValueForKey(QStringLiteral("isSynchronizationPossible"));
        auto *file = static_cast<KVImageFile *>(object);
        if (KVIsMainThread())
            followReferenceRules(file);
        else
            dispatchMain(
                [this, self = file->shared_from_this()] { followReferenceRules(self.get()); });
    } else if (keyPath == QLatin1String("url")) {
        dispatchMain([this, self = static_cast<KVImageFile *>(object)->shared_from_this()] {
            if (self == m_etalon && userInterface())
                userInterface()->displayImageFile(m_etalon);
        });
    } else if (keyPath == QLatin1String("isEtalonDateSet") ||
               keyPath == QLatin1String("fullDate")) {
        followManualDate();
    } else {
        KVCameraSets::observeValueForKeyPath(keyPath, object);
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

void KVAppDelegate::operationCountDidChange(KVBaseOperationQueue *changed) {
    didChangeValueForKey(QStringLiteral("isProcessingPathes"));
    const bool isSyncQueue = changed == m_syncQueue.get();
    dispatchMain([this, isSyncQueue] {
        // Checked again here: between a count of 0 on a worker and this moment, the next
        // operation of the run may have started. A run that is over has ended its count first.
        if (isSyncQueue && m_syncQueue && m_syncQueue->operationCount() == 0 &&
            !m_syncQueue->isSynchronizationInProcess()) {
            if (KVOperationQueue::CompletionBlock block = m_syncQueue->completetionBlock()) {
                m_syncQueue->setCompletetionBlock(nullptr);
                block();
            }
        }
        KVUserInterface *ui = userInterface();
        if (ui && isProcessingPathes() && ui->isCloseButtonEnabled())
            ui->setCloseButtonEnabled(false);
    });
}

void KVAppDelegate::synchronizationDidEnd() {
    if (!m_syncQueue || m_syncQueue->isSynchronizationInProcess())
        return;
    if (queue().operationCount() == 0)
        unlockUI();
    if (KVUserInterface *ui = userInterface()) {
        ui->setSyncButtonTitle(mainSyncButtonTitle());
        ui->reloadBrowser();
    }
    if (m_syncQueue->isOperationsCancelled())
        chooseWhatToShowOnDisplay();
}
