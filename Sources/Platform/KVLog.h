// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

// Writes "[Kalvora] <message>" to the system log and to standard error, always.
void KVLog(const QString &message);
// The same, only while the user has turned on verbose logging.
void KVLogVerbose(const QString &message);
