// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageState.h"

#include <QDateTime>
#include <QImage>
#include <QString>
#include <QUrl>

// What a view may ask of a photo.
class KVImageDataSource {
public:
    virtual ~KVImageDataSource() = default;
    virtual QImage image() const = 0;
    virtual QImage thumbnail() = 0;
    virtual QDateTime creationDate() const = 0;
    virtual QString name() const = 0;
    virtual QString cameraName() const = 0;
    virtual QUrl url() const = 0;
    virtual KVImageState imageState() const = 0;
    virtual void setImageState(KVImageState state) = 0;
};
