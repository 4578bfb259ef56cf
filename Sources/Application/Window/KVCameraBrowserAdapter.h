#pragma once

#include "KVCameraBrowserDataSource.h"

class KVAppDelegate;

// The application delegate answering the camera browser. The delegate's logic stays free of
// widgets, so the browser's questions are put to it here.
class KVCameraBrowserAdapter : public KVCameraBrowserDataSource {
public:
    explicit KVCameraBrowserAdapter(KVAppDelegate &delegate)
        : m_delegate(delegate) {}

    int numberOfCamerasInBrowser(KVCameraBrowser *browser) override;
    QString nameForCameraWithIndex(KVCameraBrowser *browser, int index) override;
    QString toolTipForCameraWithIndex(KVCameraBrowser *browser, int index) override;
    std::vector<std::shared_ptr<KVImageDataSource>>
    imagesForCameraWithIndex(KVCameraBrowser *browser, int index) override;
    bool isProcessingPathes() const override;
    void addNewFilesFromURLs(const QList<QUrl> &urls) override;

private:
    KVAppDelegate &m_delegate;
};
