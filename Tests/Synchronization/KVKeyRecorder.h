#pragma once

#include "KVObservable.h"

#include <QStringList>

#include <functional>
#include <mutex>
#include <vector>

// Records every change notice it receives, with a value sampled at that moment on the notifying
// thread, and optionally reacts to it there.
class KVKeyRecorder : public KVObserver {
public:
    using Sampler = std::function<qint64(const QString &keyPath, KVObservable *object)>;
    using Reaction = std::function<void(const QString &keyPath, KVObservable *object)>;

    explicit KVKeyRecorder(Sampler sampler = {}, Reaction reaction = {});

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

    QStringList keys() const;
    // The values of keyPath in the order they were sampled; with `after`, only those that came
    // after the first notice of that key.
    std::vector<qint64> values(const QString &keyPath, const QString &after = QString()) const;

private:
    struct Event {
        QString keyPath;
        qint64 value;
    };

    Sampler m_sampler;
    Reaction m_reaction;
    mutable std::mutex m_mutex;
    std::vector<Event> m_events;
};
