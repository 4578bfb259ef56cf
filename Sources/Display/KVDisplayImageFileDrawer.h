// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVDisplayDrawer.h"
#include "KVImageFile.h"

#include <vector>

// Shows a photo's details: camera at the top, file name in the middle, date and time at the
// bottom.
class KVDisplayImageFileDrawer : public KVDisplayDrawer {
    Q_OBJECT
public:
    explicit KVDisplayImageFileDrawer(KVDisplayView *view);

    KVImageFileRef imageFile() const;
    // The camera line shows cameraName, or the photo's own camera name when it is empty.
    void setImageFile(const KVImageFileRef &imageFile, const QString &cameraName = QString());

    // The four labels as drawn into the current view (text and lower-left-origin rectangle);
    // empty when there is nothing to draw.
    struct Label {
        QString text;
        QRectF rect;
    };
    std::vector<Label> labels() const;

    void draw(KVDisplayGraphicsState &state) override;

private:
    static const KVTextAttributes &attributes();

    KVImageFileRef m_imageFile;
    QString m_cameraName;
};
