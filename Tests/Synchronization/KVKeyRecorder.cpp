#include "KVKeyRecorder.h"

KVKeyRecorder::KVKeyRecorder(Sampler sampler, Reaction reaction)
    : m_sampler(std::move(sampler))
    , m_reaction(std::move(reaction)) {
}

void KVKeyRecorder::observeValueForKeyPath(const QString &keyPath, KVObservable *object) {
    {
        // Sampled under the lock, so that the order of the events is the order of the samples.
        std::lock_guard lock(m_mutex);
        m_events.push_back({keyPath, m_sampler ? m_sampler(keyPath, object) : 0});
    }
    if (m_reaction)
        m_reaction(keyPath, object);
}

QStringList KVKeyRecorder::keys() const {
    std::lock_guard lock(m_mutex);
    QStringList keys;
    for (const Event &event : m_events)
        keys << event.keyPath;
    return keys;
}

std::vector<qint64> KVKeyRecorder::values(const QString &keyPath, const QString &after) const {
    std::lock_guard lock(m_mutex);
    std::vector<qint64> values;
    bool started = after.isEmpty();
    for (const Event &event : m_events) {
        if (started && event.keyPath == keyPath)
            values.push_back(event.value);
        started = started || event.keyPath == after;
    }
    return values;
}
