// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVBaseOperationQueue.h"
#include "KVCameraSetsOwner.h"
#include "KVImageFile.h"
#include "KVInvocationOperation.h"
#include "KVObservable.h"
#include "KVUserInterface.h"

#include <QCoreApplication>
#include <QList>
#include <QMetaType>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <map>
#include <memory>
#include <mutex>
#include <unordered_set>
#include <vector>

// Camera identity key -> that camera's photos, by capture date, then path.
using KVCameraSetDictionary = std::map<QString, std::vector<KVImageFileRef>>;
using KVCameraSetsRef = std::shared_ptr<const KVCameraSetDictionary>;

// What a model operation hands back to the main thread ("KVResultFiles" and
// "KVResultNotAddedFiles").
struct KVModelResult {
    KVCameraSetsRef files;
    QList<QVariantMap> notAddedFiles; // "name", "path", "error"
};
Q_DECLARE_METATYPE(KVModelResult)

// The photo model of the window: the camera sets, how files are accepted and read off the main
// thread, and the answers the camera browser asks for. Observable keys: "imageFiles",
// "isSynchronizationPossible", "isProcessingPathes". An owner, when given, has the last word on
// being busy, on the rows' notes and on the display, and hears of every photo's change.
class KVCameraSets : public KVObservable, public KVObserver {
    Q_DECLARE_TR_FUNCTIONS(KVCameraSets)
public:
    explicit KVCameraSets(KVUserInterface *userInterface, KVCameraSetsOwner *owner = nullptr);
    ~KVCameraSets() override;

    static const QStringList &supportedFileExtensions();
    // The readable type identifiers among those of the supported extensions (duplicates kept).
    static QStringList supportedFileTypesOfReader();
    static const QStringList &supportedFileTypes();

    KVBaseOperationQueue &queue();

    KVCameraSetsRef imageFiles() const { return m_imageFiles; }
    void setImageFiles(const KVCameraSetsRef &imageFiles);
    KVCameraSetsRef copyImageFiles() const;
    KVCameraSetDictionary mutableCopyImageFiles() const;
    static void sortImageFiles(KVCameraSetDictionary &dictionary);
    static void addImageFile(const KVImageFileRef &file, KVCameraSetDictionary &dictionary);
    void addImageFiles(const QList<QUrl> &urls, KVCameraSetDictionary &dictionary,
                       QList<QVariantMap> &notAdded);
    KVModelResult addedAndSortedImageFiles(const QList<QUrl> &urls,
                                           KVCameraSetDictionary dictionary);
    KVModelResult removeInvalidImagesFromCameraSet(const KVCameraSetDictionary &dictionary);

    void addNewFilesFromURLs(const QList<QUrl> &urls);
    void reloadModel();
    // The model half of removing every photo from the window.
    void removeFiles();
    void openFiles(const QStringList &paths);

    QStringList sortedCameras() const;
    static void forEachImageFile(const KVCameraSetsRef &imageFiles,
                                 const std::function<void(const KVImageFileRef &)> &body);
    const std::vector<KVImageFileRef> &cameraImagesWithIndex(int index) const;

    // Answers to the camera browser.
    int numberOfCamerasInBrowser() const;
    QString nameForCameraWithIndex(int index) const;
    // The photo's camera name, with the end of its serial number ("Oriel OX-5 · …318862") when
    // another camera in the list has the same name: two bodies of one model told apart.
    QString distinctCameraName(const KVImageFileRef &file) const;
    QString toolTipForCameraWithIndex(int index) const;
    const std::vector<KVImageFileRef> &imagesForCameraWithIndex(int index) const;
    // A note for the camera's row header: the owner's, if any.
    QString noteForCameraWithIndex(int index, bool *isWarning) const;

    QStringList keyPathsForValuesAffectingValueForKey(const QString &key) const override;
    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

    // The owner's choice, else the hint of what to do next.
    void chooseWhatToShowOnDisplay();
    // What to do next with as many cameras as there are.
    void displayHint();
    void lockUI();
    void unlockUI();
    void showNotAddedFiles(const QList<QVariantMap> &records);
    // Busy by the owner's measure, else while reading photos.
    bool isProcessingPathes() const;
    bool isReadingFiles() const;
    KVUserInterface *userInterface() const { return m_ui; }

    // Waits for the model queue and stops listening to it. The owner calls it first in its
    // destructor: a worker's last notice must not reach an object that is half gone.
    void finishModelWork();
    // Runs work on the main thread later, unless these sets are gone by then.
    void dispatchMain(std::function<void()> work);
    void dispatchMainAfter(double seconds, std::function<void()> work);

private:
    void addObserverForImageFiles(const KVCameraSetsRef &imageFiles);
    void removeObserverForImageFiles(const KVCameraSetsRef &imageFiles);
    // A model operation finished: its result replaces the camera sets, on the main thread.
    void installResult(const KVModelResult &result);
    // Runs work on the model queue with the camera sets as the operation before it left them.
    void runModelOperation(std::function<KVModelResult(KVCameraSetDictionary)> work);
    KVCameraSetDictionary latestImageFiles() const;
    void installImageFiles(const KVCameraSetsRef &imageFiles);
    static QList<QUrl> directoryContents(const QUrl &directory);
    // `given`: the URLs are those the user gave, not a folder's contents.
    void walk(const QList<QUrl> &urls, QList<QUrl> &files, bool given);

    KVUserInterface *m_ui;
    KVCameraSetsOwner *m_owner;
    std::shared_ptr<int> m_lifeToken = std::make_shared<int>(0);
    KVCameraSetsRef m_imageFiles;
    // The sets the next model operation starts from: those the last one made, or those set.
    mutable std::mutex m_latestMutex;
    KVCameraSetsRef m_latestImageFiles;
    std::unique_ptr<KVBaseOperationQueue> m_queue;
    std::mutex m_operationsMutex;
    std::vector<std::shared_ptr<KVInvocationOperation>> m_modelOperations;
};
