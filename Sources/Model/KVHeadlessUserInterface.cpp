// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVHeadlessUserInterface.h"

#include <algorithm>

void KVHeadlessUserInterface::record(const QString &call) {
    m_calls << call;
}

void KVHeadlessUserInterface::addLockView() {
    std::lock_guard lock(m_mutex);
    m_locked = true;
    record(QStringLiteral("lock"));
}

void KVHeadlessUserInterface::removeLockView() {
    std::lock_guard lock(m_mutex);
    m_locked = false;
    record(QStringLiteral("unlock"));
}

bool KVHeadlessUserInterface::isCloseButtonEnabled() const {
    std::lock_guard lock(m_mutex);
    return m_closeButtonEnabled;
}

void KVHeadlessUserInterface::setCloseButtonEnabled(bool enabled) {
    std::lock_guard lock(m_mutex);
    m_closeButtonEnabled = enabled;
    record(QStringLiteral("closeButton:%1").arg(int(enabled)));
}

void KVHeadlessUserInterface::setStartViewShown(bool shown) {
    std::lock_guard lock(m_mutex);
    m_startViewShown = shown;
    record(QStringLiteral("startView:%1").arg(int(shown)));
}

void KVHeadlessUserInterface::reloadBrowser() {
    std::lock_guard lock(m_mutex);
    ++m_reloads;
    record(QStringLiteral("reload"));
}

void KVHeadlessUserInterface::displayString(const QString &text) {
    std::lock_guard lock(m_mutex);
    m_displayedText = text;
    m_displayedImageFile.reset();
    m_showingSyncProcess = false;
    record(QStringLiteral("display:") + text);
}

void KVHeadlessUserInterface::displayImageFile(const KVImageFileRef &file) {
    std::lock_guard lock(m_mutex);
    m_displayedText.clear();
    m_displayedImageFile = file;
    m_showingSyncProcess = false;
    record(QStringLiteral("displayImage:") + (file ? file->path() : QString()));
}

void KVHeadlessUserInterface::displaySyncProcess() {
    std::lock_guard lock(m_mutex);
    m_displayedText.clear();
    m_displayedImageFile.reset();
    m_showingSyncProcess = true;
    record(QStringLiteral("displaySyncProcess"));
}

void KVHeadlessUserInterface::showFileReport(FileReportType type,
                                             const QList<QVariantMap> &records) {
    std::lock_guard lock(m_mutex);
    m_reports.append({type, records});
    record(QStringLiteral("report:%1:%2").arg(int(type)).arg(records.size()));
}

void KVHeadlessUserInterface::closeManualDatePopover() {
    std::lock_guard lock(m_mutex);
    ++m_popoverCloses;
    record(QStringLiteral("closePopover"));
}

void KVHeadlessUserInterface::showPhotosInBrowser(
    const std::vector<std::pair<int, int>> &cameraPhotos) {
    std::lock_guard lock(m_mutex);
    m_shownPhotos = cameraPhotos;
    record(QStringLiteral("showPhotos"));
}

std::vector<std::pair<int, int>> KVHeadlessUserInterface::shownPhotos() const {
    std::lock_guard lock(m_mutex);
    return m_shownPhotos;
}

int KVHeadlessUserInterface::runAlert(const QString &title, const QString &text,
                                      const QStringList &buttons) {
    std::function<int(const Alert &)> handler;
    const Alert alert{title, text, buttons};
    {
        std::lock_guard lock(m_mutex);
        m_alerts.append(alert);
        record(QStringLiteral("alert:") + title);
        if (!m_answers.empty()) {
            const int answer = m_answers.front();
            m_answers.pop_front();
            return answer;
        }
        handler = m_alertHandler;
    }
    // The handler runs unlocked: it may look at what was shown so far.
    if (handler)
        return handler(alert);
    return std::max<int>(0, buttons.size() - 1);
}

void KVHeadlessUserInterface::setAlertHandler(std::function<int(const Alert &)> handler) {
    std::lock_guard lock(m_mutex);
    m_alertHandler = std::move(handler);
}

void KVHeadlessUserInterface::queueAlertAnswer(int button) {
    std::lock_guard lock(m_mutex);
    m_answers.push_back(button);
}

bool KVHeadlessUserInterface::isLocked() const {
    std::lock_guard lock(m_mutex);
    return m_locked;
}

bool KVHeadlessUserInterface::isStartViewShown() const {
    std::lock_guard lock(m_mutex);
    return m_startViewShown;
}

int KVHeadlessUserInterface::browserReloadCount() const {
    std::lock_guard lock(m_mutex);
    return m_reloads;
}

QString KVHeadlessUserInterface::displayedText() const {
    std::lock_guard lock(m_mutex);
    return m_displayedText;
}

KVImageFileRef KVHeadlessUserInterface::displayedImageFile() const {
    std::lock_guard lock(m_mutex);
    return m_displayedImageFile;
}

bool KVHeadlessUserInterface::isShowingSyncProcess() const {
    std::lock_guard lock(m_mutex);
    return m_showingSyncProcess;
}

QList<KVHeadlessUserInterface::Alert> KVHeadlessUserInterface::alerts() const {
    std::lock_guard lock(m_mutex);
    return m_alerts;
}

QList<KVHeadlessUserInterface::FileReport> KVHeadlessUserInterface::fileReports() const {
    std::lock_guard lock(m_mutex);
    return m_reports;
}

int KVHeadlessUserInterface::popoverCloseCount() const {
    std::lock_guard lock(m_mutex);
    return m_popoverCloses;
}

QStringList KVHeadlessUserInterface::calls() const {
    std::lock_guard lock(m_mutex);
    return m_calls;
}

QString KVHeadlessUserInterface::syncButtonTitle() const {
    std::lock_guard lock(m_mutex);
    return m_syncButtonTitle;
}

void KVHeadlessUserInterface::setSyncButtonTitle(const QString &title) {
    std::lock_guard lock(m_mutex);
    m_syncButtonTitle = title;
    record(QStringLiteral("syncButton:") + title);
}

void KVHeadlessUserInterface::beep() {
    std::lock_guard lock(m_mutex);
    ++m_beeps;
    record(QStringLiteral("beep"));
}

int KVHeadlessUserInterface::beepCount() const {
    std::lock_guard lock(m_mutex);
    return m_beeps;
}
