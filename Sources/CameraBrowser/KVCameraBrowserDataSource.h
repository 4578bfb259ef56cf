// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageDataSource.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <vector>

class KVCameraBrowser;

// The owner of the photo model, as the camera browser sees it: one row per camera, in the fixed
// order of the cameras, and the two things the browser does with dropped files.
class KVCameraBrowserDataSource {
public:
    virtual ~KVCameraBrowserDataSource() = default;

    virtual int numberOfCamerasInBrowser(KVCameraBrowser *browser) = 0;
    virtual QString nameForCameraWithIndex(KVCameraBrowser *browser, int index) = 0;
    virtual QString toolTipForCameraWithIndex(KVCameraBrowser *browser, int index) = 0;
    // The camera's photos in date order.
    virtual std::vector<std::shared_ptr<KVImageDataSource>>
    imagesForCameraWithIndex(KVCameraBrowser *browser, int index) = 0;

    // A note for the camera's row header, and whether it is a warning; none by default.
    virtual QString noteForCameraWithIndex(KVCameraBrowser *browser, int index, bool *isWarning) {
        Q_UNUSED(browser);
        Q_UNUSED(index);
        *isWarning = false;
        return {};
    }

    // True while files are being read: nothing may be dropped then.
    virtual bool isProcessingPathes() const = 0;
    virtual void addNewFilesFromURLs(const QList<QUrl> &urls) = 0;
};
