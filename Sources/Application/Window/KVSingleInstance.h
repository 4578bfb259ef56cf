// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QStringList>

#include <functional>

class QLocalServer;

// One window per user: a second launch hands the files it was given to the running program and
// ends, the way a desktop hands files to an application that is already open.
class KVSingleInstance : public QObject {
    Q_OBJECT
public:
    explicit KVSingleInstance(const QString &name, QObject *parent = nullptr);
    ~KVSingleInstance() override;

    // True when another instance took the paths; this one should then end.
    bool handOver(const QStringList &paths, int timeoutMilliseconds = 3000);
    // Starts listening; each hand-over reaches the handler on the main thread.
    bool listen(std::function<void(const QStringList &)> handler);

    // Per user, so that two people on one machine each have their own window.
    static QString defaultName();

private:
    QString m_name;
    QLocalServer *m_server = nullptr;
    std::function<void(const QStringList &)> m_handler;
};
