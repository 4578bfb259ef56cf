#include "KVCameraBrowserAdapter.h"

#include "KVAppDelegate.h"

int KVCameraBrowserAdapter::numberOfCamerasInBrowser(KVCameraBrowser *) {
    return m_delegate.numberOfCamerasInBrowser();
}

QString KVCameraBrowserAdapter::nameForCameraWithIndex(KVCameraBrowser *, int index) {
    return m_delegate.nameForCameraWithIndex(index);
}

QString KVCameraBrowserAdapter::toolTipForCameraWithIndex(KVCameraBrowser *, int index) {
    return m_delegate.toolTipForCameraWithIndex(index);
}

std::vector<std::shared_ptr<KVImageDataSource>>
KVCameraBrowserAdapter::imagesForCameraWithIndex(KVCameraBrowser *, int index) {
    const std::vector<KVImageFileRef> &files = m_delegate.imagesForCameraWithIndex(index);
    return {files.begin(), files.end()};
}

bool KVCameraBrowserAdapter::isProcessingPathes() const {
    return m_delegate.isProcessingPathes();
}

void KVCameraBrowserAdapter::addNewFilesFromURLs(const QList<QUrl> &urls) {
    m_delegate.addNewFilesFromURLs(urls);
}
