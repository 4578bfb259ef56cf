#pragma once

#include "KVCameraBrowserDataSource.h"
#include "KVCameraSets.h"
#include "KVHeadlessUserInterface.h"

class KVCameraBrowser;

// The photo model behind a browser that stands alone: the real camera sets read the files on
// their own queue, and the browser reloads whenever a result is installed. Messages that a window
// would show go to standard error.
class KVBrowserToolModel : public KVHeadlessUserInterface, public KVCameraBrowserDataSource {
public:
    explicit KVBrowserToolModel(KVCameraBrowser *browser);

    KVCameraSets &model() { return m_model; }

    // KVCameraBrowserDataSource
    int numberOfCamerasInBrowser(KVCameraBrowser *browser) override;
    QString nameForCameraWithIndex(KVCameraBrowser *browser, int index) override;
    QString toolTipForCameraWithIndex(KVCameraBrowser *browser, int index) override;
    std::vector<std::shared_ptr<KVImageDataSource>>
    imagesForCameraWithIndex(KVCameraBrowser *browser, int index) override;
    bool isProcessingPathes() const override;
    void addNewFilesFromURLs(const QList<QUrl> &urls) override;

    // KVUserInterface
    void reloadBrowser() override;
    void displayString(const QString &text) override;
    void showFileReport(FileReportType type, const QList<QVariantMap> &records) override;

private:
    KVCameraBrowser *m_browser;
    KVCameraSets m_model;
};
