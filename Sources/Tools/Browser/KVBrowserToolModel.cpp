// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVBrowserToolModel.h"

#include "KVCameraBrowser.h"
#include "KVFileName.h"

#include <cstdio>

namespace {

void printLine(const QString &text) {
    std::fprintf(stderr, "%s\n", KVFileName::displayed(text).toLocal8Bit().constData());
}

} // namespace

KVBrowserToolModel::KVBrowserToolModel(KVCameraBrowser *browser)
    : m_browser(browser)
    , m_model(this) {
}

void KVBrowserToolModel::reloadBrowser() {
    KVHeadlessUserInterface::reloadBrowser();
    m_browser->reload();
    printLine(QStringLiteral("%1 cameras").arg(m_model.numberOfCamerasInBrowser()));
}

void KVBrowserToolModel::displayString(const QString &text) {
    KVHeadlessUserInterface::displayString(text);
    printLine(text);
}

void KVBrowserToolModel::showFileReport(FileReportType type, const QList<QVariantMap> &records) {
    KVHeadlessUserInterface::showFileReport(type, records);
    for (const QVariantMap &record : records) {
        printLine(QStringLiteral("not added: %1 (%2)")
                      .arg(record.value(QStringLiteral("path")).toString(),
                           record.value(QStringLiteral("error")).toString()));
    }
}
