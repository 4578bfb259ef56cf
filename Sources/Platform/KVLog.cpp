// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVLog.h"

#include "KVUserDefaults.h"

#include <cstdio>
#include <mutex>
#include <syslog.h>

// Debug is the level of the step-by-step log; it starts off.
Q_LOGGING_CATEGORY(KVVerboseLogging, "kalvora.verbose", QtInfoMsg)

void KVSetVerboseLogging(bool on) {
    const_cast<QLoggingCategory &>(KVVerboseLogging()).setEnabled(QtDebugMsg, on);
}

void KVLog(const QString &message) {
    const QByteArray line = QStringLiteral("[Kalvora] %1").arg(message).toUtf8();
    static std::once_flag opened;
    std::call_once(opened, [] { openlog("kalvora", LOG_PID, LOG_USER); });
    syslog(LOG_NOTICE, "%s", line.constData());
    std::fprintf(stderr, "%s\n", line.constData());
}

bool KVVerboseLoggingEnabled() {
    // The saved default decides from the first question on; QT_LOGGING_RULES may add to it.
    static std::once_flag loaded;
    std::call_once(loaded, [] {
        if (KVUserDefaults::standardUserDefaults().verboseConsole())
            KVSetVerboseLogging(true);
    });
    return KVVerboseLogging().isDebugEnabled();
}

void KVLogVerbose(const QString &message) {
    if (KVVerboseLoggingEnabled())
        KVLog(message);
}
