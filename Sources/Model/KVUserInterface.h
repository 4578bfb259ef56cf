// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageFile.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <utility>
#include <vector>

// What the application logic asks of its window. The window implements it; tests and the
// command-line tool use KVHeadlessUserInterface.
class KVUserInterface {
public:
    enum FileReportType { NotAddedFiles = 0, NotChangedFiles = 1 };

    virtual ~KVUserInterface() = default;

    // The overlay over the camera list that keeps the user from changing the model.
    virtual void addLockView() = 0;
    virtual void removeLockView() = 0;
    virtual bool isCloseButtonEnabled() const = 0;
    virtual void setCloseButtonEnabled(bool enabled) = 0;
    // The empty window's drop area, or the camera list.
    virtual void setStartViewShown(bool shown) = 0;
    virtual void reloadBrowser() = 0;
    virtual QString syncButtonTitle() const = 0;
    virtual void setSyncButtonTitle(const QString &title) = 0;
    virtual void beep() = 0;

    virtual void displayString(const QString &text) = 0;
    virtual void displayImageFile(const KVImageFileRef &file) = 0;
    virtual void displaySyncProcess() = 0;

    // Records with "name", "path" and "error" (not added), or the paths of not changed files.
    virtual void showFileReport(FileReportType type, const QList<QVariantMap> &records) = 0;
    virtual void closeManualDatePopover() = 0;
    // An application-modal alert; returns the index of the button chosen.
    virtual int runAlert(const QString &title, const QString &text, const QStringList &buttons) = 0;
    // Scrolls and zooms the rows of the cameras (by index) to show the photo (by index) in each.
    virtual void showPhotosInBrowser(const std::vector<std::pair<int, int>> &cameraPhotos) {
        Q_UNUSED(cameraPhotos);
    }
};
