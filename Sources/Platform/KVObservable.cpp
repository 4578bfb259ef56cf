// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVObservable.h"

#include <algorithm>

void KVObservable::addObserver(KVObserver *observer, const QString &keyPath) {
    std::lock_guard lock(m_mutex);
    m_registrations.push_back({observer, keyPath});
}

void KVObservable::removeObserver(KVObserver *observer, const QString &keyPath) {
    std::lock_guard lock(m_mutex);
    // Like the platform's observing, one removal undoes one registration.
    auto it = std::find_if(m_registrations.begin(), m_registrations.end(), [&](const auto &r) {
        return r.observer == observer && r.keyPath == keyPath;
    });
    if (it != m_registrations.end())
        m_registrations.erase(it);
}

void KVObservable::removeObserver(KVObserver *observer) {
    std::lock_guard lock(m_mutex);
    std::erase_if(m_registrations, [&](const auto &r) { return r.observer == observer; });
}

bool KVObservable::hasObserver(KVObserver *observer, const QString &keyPath) const {
    std::lock_guard lock(m_mutex);
    return std::any_of(m_registrations.begin(), m_registrations.end(), [&](const auto &r) {
        return r.observer == observer && r.keyPath == keyPath;
    });
}

QStringList KVObservable::keyPathsForValuesAffectingValueForKey(const QString &) const {
    return {};
}

bool KVObservable::affects(const QString &changedKey, const QString &observedKey, int depth) const {
    if (changedKey == observedKey)
        return true;
    // Dependencies form a small acyclic graph; the depth cap only guards against a mistaken cycle.
    if (depth > 8)
        return false;
    const QStringList sources = keyPathsForValuesAffectingValueForKey(observedKey);
    return std::any_of(sources.begin(), sources.end(), [&](const QString &source) {
        return affects(changedKey, source, depth + 1);
    });
}

void KVObservable::didChangeValueForKey(const QString &key) {
    std::vector<Registration> registrations;
    {
        std::lock_guard lock(m_mutex);
        registrations = m_registrations;
    }
    // Observers are called outside the lock so that they may observe or unobserve in turn.
    for (const Registration &r : registrations) {
        if (affects(key, r.keyPath, 0))
            r.observer->observeValueForKeyPath(r.keyPath, this);
    }
}
