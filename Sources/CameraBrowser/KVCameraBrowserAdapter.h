// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCameraBrowserDataSource.h"

class KVCameraSets;

// The camera sets answering the camera browser: the application delegate's, or a model of its
// own for a browser that stands alone. The model stays free of widgets, so the browser's
// questions are put to it here.
class KVCameraBrowserAdapter : public KVCameraBrowserDataSource {
public:
    explicit KVCameraBrowserAdapter(KVCameraSets &model)
        : m_model(model) {}

    int numberOfCamerasInBrowser(KVCameraBrowser *browser) override;
    QString nameForCameraWithIndex(KVCameraBrowser *browser, int index) override;
    QString toolTipForCameraWithIndex(KVCameraBrowser *browser, int index) override;
    std::vector<std::shared_ptr<KVImageDataSource>>
    imagesForCameraWithIndex(KVCameraBrowser *browser, int index) override;
    QString noteForCameraWithIndex(KVCameraBrowser *browser, int index, bool *isWarning) override;
    bool isProcessingPathes() const override;
    void addNewFilesFromURLs(const QList<QUrl> &urls) override;

private:
    KVCameraSets &m_model;
};
