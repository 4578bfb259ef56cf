// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVUserInterface.h"

#include <QString>

#include <stdexcept>

// An operation sent to an object that does not have it: a programming error that ends whatever
// was being set up.
class KVProgrammingError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// The texts of a file report sheet by its kind. The report of not changed files fails while it
// is set up: its explanatory line is sent to the panel's self-description, a plain string that
// cannot take a text value. The error ends the set-up, so that report is never shown; the
// program has always behaved so, and users have never seen that sheet.
struct KVFileReportContent {
    KVUserInterface::FileReportType type = KVUserInterface::NotAddedFiles;
    QString title;       // empty: the layout's own
    QString description; // empty: the layout's own

    // Throws KVProgrammingError for NotChangedFiles.
    static KVFileReportContent setUp(KVUserInterface::FileReportType type);
};
