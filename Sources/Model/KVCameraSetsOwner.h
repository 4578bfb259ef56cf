// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

class KVImageFile;

// What the holder of camera sets adds to them: the application delegate is busy with runs as
// well as imports, has notes for the rows and its own choice of what the display shows, and
// follows the photos' states.
class KVCameraSetsOwner {
public:
    virtual ~KVCameraSetsOwner() = default;

    virtual bool isProcessingPathes() const = 0;
    virtual QString noteForCameraWithIndex(int index, bool *isWarning) const = 0;
    virtual void chooseWhatToShowOnDisplay() = 0;
    // A photo of the sets changed its "imageState" or its "url", on the thread that changed it.
    virtual void imageFileDidChange(const QString &keyPath, KVImageFile *file) = 0;
};
