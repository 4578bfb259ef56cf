// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QLoggingCategory>
#include <QString>

// The step-by-step log ("kalvora.verbose": each photo read, each run of the tool): off unless
// the user has turned on Verbose Logging, or QT_LOGGING_RULES turns on its debug level.
Q_DECLARE_LOGGING_CATEGORY(KVVerboseLogging)
// Follows the Verbose Logging default; KVUserDefaults calls it whenever that changes.
void KVSetVerboseLogging(bool on);
// Whether the step-by-step log is on (the saved default is read on first use).
bool KVVerboseLoggingEnabled();

// Writes "[Kalvora] <message>" to the system log and to standard error, always: warnings and
// errors.
void KVLog(const QString &message);
// The same, only while the step-by-step log is on.
void KVLogVerbose(const QString &message);
