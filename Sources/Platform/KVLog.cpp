// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVLog.h"

#include "KVUserDefaults.h"

#include <cstdio>
#include <mutex>
#include <syslog.h>

void KVLog(const QString &message) {
    const QByteArray line = QStringLiteral("[Kalvora] %1").arg(message).toUtf8();
    static std::once_flag opened;
    std::call_once(opened, [] { openlog("kalvora", LOG_PID, LOG_USER); });
    syslog(LOG_NOTICE, "%s", line.constData());
    std::fprintf(stderr, "%s\n", line.constData());
}

void KVLogVerbose(const QString &message) {
    if (KVUserDefaults::standardUserDefaults().verboseConsole())
        KVLog(message);
}
