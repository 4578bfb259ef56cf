// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraBrowserAdapter.h"

#include "KVCameraSets.h"

int KVCameraBrowserAdapter::numberOfCamerasInBrowser(KVCameraBrowser *) {
    return m_model.numberOfCamerasInBrowser();
}

QString KVCameraBrowserAdapter::nameForCameraWithIndex(KVCameraBrowser *, int index) {
    return m_model.nameForCameraWithIndex(index);
}

QString KVCameraBrowserAdapter::toolTipForCameraWithIndex(KVCameraBrowser *, int index) {
    return m_model.toolTipForCameraWithIndex(index);
}

std::vector<std::shared_ptr<KVImageDataSource>>
KVCameraBrowserAdapter::imagesForCameraWithIndex(KVCameraBrowser *, int index) {
    const std::vector<KVImageFileRef> &files = m_model.imagesForCameraWithIndex(index);
    return {files.begin(), files.end()};
}

QString KVCameraBrowserAdapter::noteForCameraWithIndex(KVCameraBrowser *, int index,
                                                       bool *isWarning) {
    return m_model.noteForCameraWithIndex(index, isWarning);
}

bool KVCameraBrowserAdapter::isProcessingPathes() const {
    return m_model.isProcessingPathes();
}

void KVCameraBrowserAdapter::addNewFilesFromURLs(const QList<QUrl> &urls) {
    m_model.addNewFilesFromURLs(urls);
}
