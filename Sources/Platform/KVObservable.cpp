// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVObservable.h"

#include <algorithm>

void KVObservable::addObserver(KVObserver *observer, const QString &keyPath) {
    std::lock_guard lock(m_mutex);
    m_registrations.push_back({observer, keyPath});
}

void KVObservable::removeObserver(KVObserver *observer, const QString &keyPath) {
    std::unique_lock lock(m_mutex);
    // Like the platform's observing, one removal undoes one registration.
    auto it = std::find_if(m_registrations.begin(), m_registrations.end(), [&](const auto &r) {
        return r.observer == observer && r.keyPath == keyPath;
    });
    if (it != m_registrations.end())
        m_registrations.erase(it);
    waitForDeliveriesLocked(lock, observer);
}

void KVObservable::removeObserver(KVObserver *observer) {
    std::unique_lock lock(m_mutex);
    std::erase_if(m_registrations, [&](const auto &r) { return r.observer == observer; });
    waitForDeliveriesLocked(lock, observer);
}

// A notice to this observer under way on another thread ends before the removal returns, so the
// caller may destroy the observer at once.
void KVObservable::waitForDeliveriesLocked(std::unique_lock<std::mutex> &lock,
                                           KVObserver *observer) {
    const std::thread::id self = std::this_thread::get_id();
    m_deliveryEnded.wait(lock, [&] {
        return std::none_of(m_deliveries.begin(), m_deliveries.end(), [&](const Delivery &d) {
            return d.observer == observer && d.thread != self;
        });
    });
}

bool KVObservable::isRegisteredLocked(const Registration &registration) const {
    return std::any_of(m_registrations.begin(), m_registrations.end(), [&](const auto &r) {
        return r.observer == registration.observer && r.keyPath == registration.keyPath;
    });
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
    // Observers are called outside the lock so that they may observe or unobserve in turn. Each
    // call is announced under the lock and made only while still registered, so that a removal
    // either comes first (no call) or waits for the call to end.
    const std::thread::id self = std::this_thread::get_id();
    for (const Registration &r : registrations) {
        if (!affects(key, r.keyPath, 0))
            continue;
        {
            std::lock_guard lock(m_mutex);
            if (!isRegisteredLocked(r))
                continue;
            m_deliveries.push_back({r.observer, self});
        }
        r.observer->observeValueForKeyPath(r.keyPath, this);
        {
            std::lock_guard lock(m_mutex);
            const auto delivery =
                std::find_if(m_deliveries.begin(), m_deliveries.end(), [&](const Delivery &d) {
                    return d.observer == r.observer && d.thread == self;
                });
            if (delivery != m_deliveries.end())
                m_deliveries.erase(delivery);
        }
        m_deliveryEnded.notify_all();
    }
}
