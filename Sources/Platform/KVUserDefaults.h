// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QVariant>

#include <atomic>
#include <mutex>

// The user's defaults, kept by QSettings. Registered defaults answer for keys the user never set.
class KVUserDefaults {
public:
    static KVUserDefaults &standardUserDefaults();
    static const QString verboseLoggingKey; // "KVVerboseLogging"

    void registerDefaults(const QVariantMap &defaults);
    QVariant objectForKey(const QString &key) const;
    bool boolForKey(const QString &key) const;
    void setBool(bool value, const QString &key);
    void setObject(const QVariant &value, const QString &key);

    // Asked before every log line of every photo, on any thread: answered from memory, and
    // kept current by setBool, so the menu switch takes effect at once everywhere.
    bool verboseConsole() const;

private:
    KVUserDefaults() = default;

    mutable std::mutex m_mutex;
    QVariantMap m_registered;
    // -1 until first asked.
    mutable std::atomic<int> m_verbose{-1};
};
