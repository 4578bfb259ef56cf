// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCameraBrowserAdapter.h"
#include "KVCameraSets.h"
#include "KVHeadlessUserInterface.h"

class KVCameraBrowser;

// The photo model behind a browser that stands alone: the real camera sets read the files on
// their own queue, and the browser reloads whenever a result is installed. Messages that a window
// would show go to standard error.
class KVBrowserToolModel : public KVHeadlessUserInterface {
public:
    explicit KVBrowserToolModel(KVCameraBrowser *browser);

    KVCameraSets &model() { return m_model; }

    KVCameraBrowserDataSource *dataSource() { return &m_dataSource; }
    bool isProcessingPathes() const { return m_model.isProcessingPathes(); }

    // KVUserInterface
    void reloadBrowser() override;
    void displayString(const QString &text) override;
    void showFileReport(FileReportType type, const QList<QVariantMap> &records) override;

private:
    KVCameraBrowser *m_browser;
    KVCameraSets m_model;
    KVCameraBrowserAdapter m_dataSource{m_model};
};
