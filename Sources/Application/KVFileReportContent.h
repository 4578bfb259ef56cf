// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVUserInterface.h"

#include <QString>

// The texts of a file report sheet by its kind.
struct KVFileReportContent {
    KVUserInterface::FileReportType type = KVUserInterface::NotAddedFiles;
    QString title;       // empty: the layout's own
    QString description; // empty: the layout's own

    static KVFileReportContent setUp(KVUserInterface::FileReportType type);
};
