// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraSets.h"

#include "KVKeyPath.h"
#include "KVDispatch.h"
#include "KVFileName.h"
#include "KVImageSource.h"
#include "KVParallelFor.h"
#include "KVTypeIdentifier.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

const std::vector<KVImageFileRef> &emptyCamera() {
    static const std::vector<KVImageFileRef> empty;
    return empty;
}

} // namespace

KVCameraSets::KVCameraSets(KVUserInterface *userInterface, KVCameraSetsOwner *owner)
    : m_ui(userInterface)
    , m_owner(owner) {
}

KVCameraSets::~KVCameraSets() {
    finishModelWork();
    removeObserverForImageFiles(m_imageFiles);
}

void KVCameraSets::finishModelWork() {
    if (m_queue) {
        m_queue->waitUntilAllOperationsAreFinished();
        m_queue->removeObserver(this);
    }
}

const QStringList &KVCameraSets::supportedFileExtensions() {
    return KVTypeIdentifier::photoExtensions();
}

QStringList KVCameraSets::supportedFileTypesOfReader() {
    const QStringList readable = KVImageSource::copyTypeIdentifiers();
    QStringList types;
    for (const QString &extension : supportedFileExtensions()) {
        const QString type = KVTypeIdentifier::preferredIdentifierForExtension(extension);
        if (readable.contains(type))
            types << type;
    }
    return types;
}

const QStringList &KVCameraSets::supportedFileTypes() {
    // Set up once for the process, safely from any thread.
    static const QStringList types = supportedFileTypesOfReader();
    return types;
}

KVBaseOperationQueue &KVCameraSets::queue() {
    if (!m_queue) {
        m_queue = std::make_unique<KVBaseOperationQueue>();
        // One model operation at a time, each on the sets the one before it left.
        m_queue->setMaxConcurrentOperationCount(1);
        m_queue->addObserver(this, KVKeyPath::operationCount);
    }
    return *m_queue;
}

void KVCameraSets::setImageFiles(const KVCameraSetsRef &imageFiles) {
    {
        std::lock_guard lock(m_latestMutex);
        m_latestImageFiles = imageFiles;
    }
    installImageFiles(imageFiles);
}

void KVCameraSets::installImageFiles(const KVCameraSetsRef &imageFiles) {
    if (imageFiles == m_imageFiles)
        return;
    removeObserverForImageFiles(m_imageFiles);
    m_imageFiles = imageFiles;
    addObserverForImageFiles(m_imageFiles);
    didChangeValueForKey(KVKeyPath::imageFiles);
}

void KVCameraSets::forEachImageFile(const KVCameraSetsRef &imageFiles,
                                    const std::function<void(const KVImageFileRef &)> &body) {
    if (!imageFiles)
        return;
    for (const auto &[key, files] : *imageFiles) {
        for (const KVImageFileRef &file : files)
            body(file);
    }
}

void KVCameraSets::addObserverForImageFiles(const KVCameraSetsRef &imageFiles) {
    forEachImageFile(imageFiles, [this](const KVImageFileRef &file) {
        file->addObserver(this, KVKeyPath::imageState);
        file->addObserver(this, KVKeyPath::url);
    });
}

void KVCameraSets::removeObserverForImageFiles(const KVCameraSetsRef &imageFiles) {
    forEachImageFile(imageFiles, [this](const KVImageFileRef &file) {
        file->removeObserver(this, KVKeyPath::imageState);
        file->removeObserver(this, KVKeyPath::url);
    });
}

KVCameraSetsRef KVCameraSets::copyImageFiles() const {
    return std::make_shared<const KVCameraSetDictionary>(mutableCopyImageFiles());
}

KVCameraSetDictionary KVCameraSets::mutableCopyImageFiles() const {
    return m_imageFiles ? *m_imageFiles : KVCameraSetDictionary();
}

void KVCameraSets::sortImageFiles(KVCameraSetDictionary &dictionary) {
    struct Keyed {
        QDateTime date;
        QString path;
        KVImageFileRef file;
    };
    for (auto &[key, files] : dictionary) {
        // Each record's date and path are read once, not at every comparison.
        std::vector<Keyed> keyed;
        keyed.reserve(files.size());
        for (KVImageFileRef &file : files)
            keyed.push_back({file->creationDate(), file->path(), std::move(file)});
        std::stable_sort(keyed.begin(), keyed.end(), [](const Keyed &a, const Keyed &b) {
            if (a.date != b.date)
                return a.date < b.date;
            return a.path < b.path;
        });
        for (size_t i = 0; i < keyed.size(); ++i)
            files[i] = std::move(keyed[i].file);
    }
}

void KVCameraSets::addImageFile(const KVImageFileRef &file, KVCameraSetDictionary &dictionary) {
    std::vector<KVImageFileRef> &files = dictionary[file->fullCameraName()];
    const bool known = std::any_of(files.begin(), files.end(), [&](const KVImageFileRef &other) {
        return other->isEqual(*file);
    });
    if (!known)
        files.push_back(file);
}

QList<QUrl> KVCameraSets::directoryContents(const QUrl &directory) {
    QList<QUrl> urls;
    for (const QString &entry :
         KVFileName::entries(KVFileName::path(directory), KVFileName::Hidden::Skipped))
        urls << KVFileName::url(entry);
    return urls;
}

void KVCameraSets::walk(const QList<QUrl> &urls, QList<QUrl> &files, bool given) {
    for (const QUrl &url : urls) {
        const QString path = KVFileName::path(url);
        const bool isFolder = KVFileName::isFolder(path);
        const bool isLink = KVFileName::isLink(path);
        if (isFolder && isLink && given) {
            // A link the user gave is followed once, to the folder itself, so that its photos
            // have one path however they were reached.
            const QString target = KVFileName::canonical(path);
            if (!target.isEmpty())
                walk(directoryContents(KVFileName::url(target)), files, false);
            continue;
        }
        // A link met inside a folder is not a folder here: it is never entered, so a loop of
        // links cannot trap the walk.
        if (isFolder && !isLink)
            walk(directoryContents(url), files, false);
        else
            files << url;
    }
}

void KVCameraSets::addImageFiles(const QList<QUrl> &urls, KVCameraSetDictionary &dictionary,
                                 QList<QVariantMap> &notAdded) {
    QList<QUrl> files;
    walk(urls, files, true);

    const QStringList &types = supportedFileTypes();
    struct Outcome {
        KVImageFileRef file;
        QString reason;
    };
    std::vector<Outcome> outcomes(files.size());
    // Reading the files is the slow part; it is spread over the processors, and the results
    // are filed afterwards in the order of the walk.
    KVParallelFor(files.size(), [&](size_t i) {
        const QString path = KVFileName::path(files[i]);
        Outcome &outcome = outcomes[i];
        outcome.reason = tr("Unsupported file format.");
        // The name, in any case, says whether the file is worth reading; the reader then
        // decides by the content.
        if (!types.contains(KVTypeIdentifier::forPath(path)))
            return;
        KVReadProblem problem = KVReadProblem::None;
        KVImageFileRef file = KVImageFile::initWithURL(files[i], &problem);
        if (!file) {
            outcome.reason = problem == KVReadProblem::TimedOut
                                 ? tr("Reading the file took too long.")
                                 : tr("No EXIF date and camera found.");
            return;
        }
        if (file->thumbnailData(&problem).isNull()) {
            outcome.reason = tr("No EXIF thumbnail found.");
            // A parse that ran out of time, or a file that cannot hold its picture, is not
            // tried a second time.
            if (problem == KVReadProblem::TimedOut) {
                outcome.reason = tr("Reading the file took too long.");
                return;
            }
            if (problem == KVReadProblem::Damaged) {
                outcome.reason =
                    tr("The file is damaged: it declares a larger picture than it holds.");
                return;
            }
            if (file->thumbnailData().isNull())
                return;
        }
        outcome.file = std::move(file);
    });

    // Equality is by path; an index keeps filing linear for cameras with thousands of photos.
    std::unordered_set<QString> known;
    for (const auto &[key, cameraFiles] : dictionary) {
        for (const KVImageFileRef &file : cameraFiles)
            known.insert(file->path());
    }
    const auto refuse = [&notAdded](const QString &path, const QString &reason) {
        notAdded << QVariantMap{{QStringLiteral("name"), KVFileName::displayedName(path)},
                                {QStringLiteral("path"), path},
                                {QStringLiteral("error"), reason}};
    };
    for (qsizetype i = 0; i < files.size(); ++i) {
        Outcome &outcome = outcomes[i];
        if (outcome.file) {
            if (known.insert(outcome.file->path()).second)
                dictionary[outcome.file->fullCameraName()].push_back(outcome.file);
            continue;
        }
        refuse(KVFileName::path(files[i]), outcome.reason);
    }
}

KVModelResult KVCameraSets::addedAndSortedImageFiles(const QList<QUrl> &urls,
                                                     KVCameraSetDictionary dictionary) {
    QList<QVariantMap> notAdded;
    addImageFiles(urls, dictionary, notAdded);
    sortImageFiles(dictionary);
    return {std::make_shared<const KVCameraSetDictionary>(std::move(dictionary)), notAdded};
}

KVModelResult
KVCameraSets::removeInvalidImagesFromCameraSet(const KVCameraSetDictionary &dictionary) {
    KVCameraSetDictionary result;
    for (const auto &[key, files] : dictionary) {
        std::vector<KVImageFileRef> kept;
        for (const KVImageFileRef &file : files) {
            if (file->imageState() != KVImageStateRemoved && KVFileName::exists(file->path()))
                kept.push_back(file);
        }
        // The key is made anew from the photo: a camera's identity may have been re-read.
        if (!kept.empty()) {
            std::vector<KVImageFileRef> &target = result[kept.front()->fullCameraName()];
            target.insert(target.end(), kept.begin(), kept.end());
        }
    }
    sortImageFiles(result);
    return {std::make_shared<const KVCameraSetDictionary>(std::move(result)), {}};
}

void KVCameraSets::lockUI() {
    if (m_ui)
        m_ui->addLockView();
}

KVCameraSetDictionary KVCameraSets::latestImageFiles() const {
    std::lock_guard lock(m_latestMutex);
    return m_latestImageFiles ? *m_latestImageFiles : KVCameraSetDictionary();
}

void KVCameraSets::runModelOperation(std::function<KVModelResult(KVCameraSetDictionary)> work) {
    // The working copy is taken when the operation starts, not when it is queued: an import
    // queued behind another builds on that one's result, so no photo of either is lost.
    auto operation = std::make_shared<KVInvocationOperation>([this, work = std::move(work)] {
        const KVModelResult result = work(latestImageFiles());
        {
            std::lock_guard lock(m_latestMutex);
            m_latestImageFiles = result.files;
        }
        return QVariant::fromValue(result);
    });
    {
        std::lock_guard lock(m_operationsMutex);
        m_modelOperations.push_back(operation);
    }
    operation->addObserver(this, KVKeyPath::isFinished);
    queue().addOperation(operation);
}

void KVCameraSets::dispatchMain(std::function<void()> work) {
    KVDispatchMain([alive = std::weak_ptr<int>(m_lifeToken), work = std::move(work)] {
        if (alive.lock())
            work();
    });
}

void KVCameraSets::dispatchMainAfter(double seconds, std::function<void()> work) {
    KVDispatchMainAfter(seconds, [alive = std::weak_ptr<int>(m_lifeToken), work = std::move(work)] {
        if (alive.lock())
            work();
    });
}

void KVCameraSets::addNewFilesFromURLs(const QList<QUrl> &urls) {
    lockUI();
    if (m_ui) {
        m_ui->setStartViewShown(false);
        m_ui->displayString(tr("Adding photos…"));
    }
    runModelOperation([this, urls](KVCameraSetDictionary copy) {
        return addedAndSortedImageFiles(urls, std::move(copy));
    });
}

void KVCameraSets::reloadModel() {
    lockUI();
    runModelOperation([this](const KVCameraSetDictionary &copy) {
        return removeInvalidImagesFromCameraSet(copy);
    });
}

void KVCameraSets::removeFiles() {
    setImageFiles(nullptr);
    chooseWhatToShowOnDisplay();
    if (m_ui) {
        m_ui->reloadBrowser();
        m_ui->setStartViewShown(true);
        m_ui->closeManualDatePopover();
    }
}

void KVCameraSets::openFiles(const QStringList &paths) {
    QList<QUrl> urls;
    for (const QString &path : paths)
        urls << KVFileName::url(path);
    addNewFilesFromURLs(urls);
}

void KVCameraSets::installResult(const KVModelResult &result) {
    if (!result.notAddedFiles.isEmpty()) {
        const QList<QVariantMap> notAdded = result.notAddedFiles;
        dispatchMain([this, notAdded] { showNotAddedFiles(notAdded); });
    }
    // The operations have moved the working sets on already; only the shown ones change here.
    installImageFiles(result.files);
    chooseWhatToShowOnDisplay();
    if (m_ui)
        m_ui->reloadBrowser();
    unlockUI();
}

QStringList KVCameraSets::sortedCameras() const {
    QStringList cameras;
    if (m_imageFiles) {
        // std::map keeps its keys in QString's plain, case-sensitive order already.
        for (const auto &[key, files] : *m_imageFiles)
            cameras << key;
    }
    return cameras;
}

const std::vector<KVImageFileRef> &KVCameraSets::cameraImagesWithIndex(int index) const {
    if (!m_imageFiles || index < 0 || index >= static_cast<int>(m_imageFiles->size()))
        return emptyCamera();
    return std::next(m_imageFiles->begin(), index)->second;
}

int KVCameraSets::numberOfCamerasInBrowser() const {
    return m_imageFiles ? static_cast<int>(m_imageFiles->size()) : 0;
}

QString KVCameraSets::nameForCameraWithIndex(int index) const {
    const std::vector<KVImageFileRef> &files = cameraImagesWithIndex(index);
    const QString name = files.empty() ? QString() : distinctCameraName(files.front());
    return name.isEmpty() ? tr("No Name") : name;
}

QString KVCameraSets::distinctCameraName(const KVImageFileRef &file) const {
    if (!file)
        return {};
    const QString name = file->cameraName();
    const QString serial = file->serialNumber().trimmed();
    if (serial.isEmpty() || !m_imageFiles)
        return name;
    const QString key = file->fullCameraName();
    const bool shared =
        std::any_of(m_imageFiles->begin(), m_imageFiles->end(), [&](const auto &camera) {
            return camera.first != key && !camera.second.empty() &&
                   camera.second.front()->cameraName() == name;
        });
    if (!shared)
        return name;
    // The last digits tell bodies apart; the front of a serial is mostly the maker's prefix.
    constexpr qsizetype kKVSerialTail = 6;
    const QString tail =
        serial.size() > kKVSerialTail ? QStringLiteral("…") + serial.right(kKVSerialTail) : serial;
    return name + QStringLiteral(" · ") + tail;
}

QString KVCameraSets::toolTipForCameraWithIndex(int index) const {
    const std::vector<KVImageFileRef> &files = cameraImagesWithIndex(index);
    if (files.empty())
        return {};
    const KVImageFileRef &file = files.front();
    QString text;
    text.reserve(64);
    // An empty string counts as present but adds nothing, so no stray line break either.
    for (const QString &part : {file->model(), file->camera(), file->serialNumber()}) {
        if (part.isNull())
            continue;
        if (!text.isEmpty())
            text += QLatin1Char('\n');
        text += part;
    }
    return text;
}

const std::vector<KVImageFileRef> &KVCameraSets::imagesForCameraWithIndex(int index) const {
    return cameraImagesWithIndex(index);
}

QString KVCameraSets::noteForCameraWithIndex(int index, bool *isWarning) const {
    if (m_owner)
        return m_owner->noteForCameraWithIndex(index, isWarning);
    if (isWarning)
        *isWarning = false;
    return {};
}

QStringList KVCameraSets::keyPathsForValuesAffectingValueForKey(const QString &key) const {
    QStringList keys = KVObservable::keyPathsForValuesAffectingValueForKey(key);
    if (key == KVKeyPath::isSynchronizationPossible)
        keys << KVKeyPath::imageFiles;
    return keys;
}

void KVCameraSets::observeValueForKeyPath(const QString &keyPath, KVObservable *object) {
    if (keyPath == KVKeyPath::isFinished) {
        std::shared_ptr<KVInvocationOperation> operation;
        {
            std::lock_guard lock(m_operationsMutex);
            auto it =
                std::find_if(m_modelOperations.begin(), m_modelOperations.end(),
                             [&](const auto &candidate) { return candidate.get() == object; });
            if (it == m_modelOperations.end())
                return;
            operation = *it;
            m_modelOperations.erase(it);
        }
        operation->removeObserver(this, keyPath);
        const KVModelResult result = operation->result().value<KVModelResult>();
        dispatchMain([this, result] { installResult(result); });
    } else if (keyPath == KVKeyPath::operationCount) {
        didChangeValueForKey(KVKeyPath::isProcessingPathes);
        dispatchMain([this] {
            if (m_ui && isProcessingPathes() && m_ui->isCloseButtonEnabled())
                m_ui->setCloseButtonEnabled(false);
        });
    } else if (keyPath == KVKeyPath::imageState || keyPath == KVKeyPath::url) {
        if (keyPath == KVKeyPath::imageState)
            didChangeValueForKey(KVKeyPath::isSynchronizationPossible);
        if (m_owner)
            m_owner->imageFileDidChange(keyPath, static_cast<KVImageFile *>(object));
    }
}

void KVCameraSets::chooseWhatToShowOnDisplay() {
    if (m_owner)
        m_owner->chooseWhatToShowOnDisplay();
    else
        displayHint();
}

void KVCameraSets::displayHint() {
    if (!m_ui)
        return;
    const int cameras = numberOfCamerasInBrowser();
    if (cameras == 1)
        m_ui->displayString(tr("Add photos taken with another camera\nor set \"base\" time and "
                               "date manually"));
    else if (cameras >= 2)
        m_ui->displayString(tr("Double-click a photo that\nhas correct time and date "
                               "information\nor set \"base\" time and date manually"));
    else
        m_ui->displayString(tr("No photos to sync"));
}

void KVCameraSets::unlockUI() {
    if (!m_ui)
        return;
    m_ui->removeLockView();
    m_ui->setCloseButtonEnabled(true);
    m_ui->setStartViewShown(numberOfCamerasInBrowser() == 0);
}

void KVCameraSets::showNotAddedFiles(const QList<QVariantMap> &records) {
    if (m_ui)
        m_ui->showFileReport(KVUserInterface::NotAddedFiles, records);
}

bool KVCameraSets::isProcessingPathes() const {
    return m_owner ? m_owner->isProcessingPathes() : isReadingFiles();
}

bool KVCameraSets::isReadingFiles() const {
    return m_queue && m_queue->operationCount() > 0;
}
