// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFileReportContent.h"

#include <QCoreApplication>

KVFileReportContent KVFileReportContent::setUp(KVUserInterface::FileReportType type) {
    KVFileReportContent content;
    content.type = type;
    if (type == KVUserInterface::NotChangedFiles) {
        content.title = QCoreApplication::translate("KVAddFilesAlertPanel", "Cannot change date");
        content.description = QCoreApplication::translate(
            "KVAddFilesAlertPanel",
            "Kalvora did not change the date settings for the following files:");
    }
    return content;
}
