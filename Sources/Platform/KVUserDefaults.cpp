#include "KVUserDefaults.h"

#include <QSettings>

const QString KVUserDefaults::verboseLoggingKey = QStringLiteral("KVVerboseLogging");

KVUserDefaults &KVUserDefaults::standardUserDefaults() {
    static KVUserDefaults defaults;
    return defaults;
}

void KVUserDefaults::registerDefaults(const QVariantMap &defaults) {
    std::lock_guard lock(m_mutex);
    for (auto it = defaults.begin(); it != defaults.end(); ++it)
        m_registered.insert(it.key(), it.value());
}

QVariant KVUserDefaults::objectForKey(const QString &key) const {
    QVariant fallback;
    {
        std::lock_guard lock(m_mutex);
        fallback = m_registered.value(key);
    }
    return QSettings(QStringLiteral("Kalvora"), QStringLiteral("Kalvora")).value(key, fallback);
}

bool KVUserDefaults::boolForKey(const QString &key) const {
    return objectForKey(key).toBool();
}

void KVUserDefaults::setBool(bool value, const QString &key) {
    QSettings(QStringLiteral("Kalvora"), QStringLiteral("Kalvora")).setValue(key, value);
}

bool KVUserDefaults::verboseConsole() const {
    return boolForKey(verboseLoggingKey);
}
