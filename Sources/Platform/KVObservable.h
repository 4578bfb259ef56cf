// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QStringList>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

class KVObservable;

// Receiver of change notices. Notices arrive synchronously on the thread that made the change;
// a receiver that touches widgets hops to the main thread itself.
class KVObserver {
public:
    virtual ~KVObserver() = default;
    virtual void observeValueForKeyPath(const QString &keyPath, KVObservable *object) = 0;
};

// Key-value observing: observers register for named keys, and a change of a key also announces
// every key that declares a dependency on it. Once removeObserver returns, the observer is never
// called again on any thread: it waits for a notice being delivered to that observer on another
// thread (a notice on its own thread, the one it may be removing itself from, is not waited for).
class KVObservable {
public:
    KVObservable() = default;
    KVObservable(const KVObservable &) = delete;
    KVObservable &operator=(const KVObservable &) = delete;
    virtual ~KVObservable() = default;

    void addObserver(KVObserver *observer, const QString &keyPath);
    void removeObserver(KVObserver *observer, const QString &keyPath);
    // Removes every registration of the observer on this object.
    void removeObserver(KVObserver *observer);
    bool hasObserver(KVObserver *observer, const QString &keyPath) const;

    // The keys whose changes also change `key`.
    virtual QStringList keyPathsForValuesAffectingValueForKey(const QString &key) const;

    // Announces a change of `key` (and of every key depending on it) to the observers.
    void didChangeValueForKey(const QString &key);

private:
    struct Registration {
        KVObserver *observer;
        QString keyPath;
    };
    struct Delivery {
        KVObserver *observer;
        std::thread::id thread;
    };
    bool affects(const QString &changedKey, const QString &observedKey, int depth) const;
    bool isRegisteredLocked(const Registration &registration) const;
    void waitForDeliveriesLocked(std::unique_lock<std::mutex> &lock, KVObserver *observer);

    mutable std::mutex m_mutex;
    std::condition_variable m_deliveryEnded;
    std::vector<Registration> m_registrations;
    std::vector<Delivery> m_deliveries; // in flight
};
