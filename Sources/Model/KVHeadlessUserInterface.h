// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVUserInterface.h"

#include <QList>

#include <deque>
#include <functional>
#include <mutex>

// A window without pixels: remembers what it was asked to show, and answers alerts as told.
class KVHeadlessUserInterface : public KVUserInterface {
public:
    struct Alert {
        QString title;
        QString text;
        QStringList buttons;
    };
    struct FileReport {
        FileReportType type;
        QList<QVariantMap> records;
    };

    void addLockView() override;
    void removeLockView() override;
    bool isCloseButtonEnabled() const override;
    void setCloseButtonEnabled(bool enabled) override;
    void setStartViewShown(bool shown) override;
    void reloadBrowser() override;
    QString syncButtonTitle() const override;
    void setSyncButtonTitle(const QString &title) override;
    void beep() override;
    void displayString(const QString &text) override;
    void displayImageFile(const KVImageFileRef &file) override;
    void displaySyncProcess() override;
    void showFileReport(FileReportType type, const QList<QVariantMap> &records) override;
    void closeManualDatePopover() override;
    int runAlert(const QString &title, const QString &text, const QStringList &buttons) override;
    void showPhotosInBrowser(const std::vector<std::pair<int, int>> &cameraPhotos) override;

    // Answers for the next alerts, in order. Without one, the handler answers, if set; else the
    // last button (OK, or Cancel where there is a choice).
    void queueAlertAnswer(int button);
    void setAlertHandler(std::function<int(const Alert &)> handler);

    bool isLocked() const;
    bool isStartViewShown() const;
    int browserReloadCount() const;
    QString displayedText() const;
    KVImageFileRef displayedImageFile() const;
    bool isShowingSyncProcess() const;
    QList<Alert> alerts() const;
    QList<FileReport> fileReports() const;
    int popoverCloseCount() const;
    int beepCount() const;
    // (camera, photo) of the rows last asked to show a photo.
    std::vector<std::pair<int, int>> shownPhotos() const;
    // Every call, in order, by name: "lock", "unlock", "startView:1", "reload", "display:<text>"...
    QStringList calls() const;

private:
    void record(const QString &call);

    mutable std::mutex m_mutex;
    bool m_locked = false;
    bool m_closeButtonEnabled = true;
    bool m_startViewShown = true;
    int m_reloads = 0;
    QString m_displayedText;
    KVImageFileRef m_displayedImageFile;
    bool m_showingSyncProcess = false;
    QList<Alert> m_alerts;
    QList<FileReport> m_reports;
    int m_popoverCloses = 0;
    int m_beeps = 0;
    QString m_syncButtonTitle;
    std::deque<int> m_answers;
    std::function<int(const Alert &)> m_alertHandler;
    QStringList m_calls;
    std::vector<std::pair<int, int>> m_shownPhotos;
};
