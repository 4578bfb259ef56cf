// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVUserDefaults.h"

#include "KVLog.h"

#include <QSettings>

namespace {

QSettings settings() {
    return QSettings(QStringLiteral("Kalvora"), QStringLiteral("Kalvora"));
}

} // namespace

const QString KVUserDefaults::verboseLoggingKey = QStringLiteral("KVVerboseLogging");

KVUserDefaults &KVUserDefaults::standardUserDefaults() {
    static KVUserDefaults defaults;
    return defaults;
}

void KVUserDefaults::registerDefaults(const QVariantMap &defaults) {
    {
        std::lock_guard lock(m_mutex);
        for (auto it = defaults.begin(); it != defaults.end(); ++it)
            m_registered.insert(it.key(), it.value());
    }
    m_verbose = -1;
}

QVariant KVUserDefaults::objectForKey(const QString &key) const {
    std::lock_guard lock(m_mutex);
    return settings().value(key, m_registered.value(key));
}

bool KVUserDefaults::boolForKey(const QString &key) const {
    return objectForKey(key).toBool();
}

void KVUserDefaults::setBool(bool value, const QString &key) {
    {
        std::lock_guard lock(m_mutex);
        settings().setValue(key, value);
    }
    if (key == verboseLoggingKey) {
        m_verbose = value ? 1 : 0;
        KVSetVerboseLogging(value);
    }
}

void KVUserDefaults::setObject(const QVariant &value, const QString &key) {
    if (key == verboseLoggingKey) {
        setBool(value.toBool(), key);
        return;
    }
    std::lock_guard lock(m_mutex);
    settings().setValue(key, value);
}

bool KVUserDefaults::verboseConsole() const {
    int verbose = m_verbose.load();
    if (verbose < 0) {
        verbose = boolForKey(verboseLoggingKey) ? 1 : 0;
        m_verbose = verbose;
    }
    return verbose == 1;
}
