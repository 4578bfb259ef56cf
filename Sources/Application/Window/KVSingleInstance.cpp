// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVSingleInstance.h"

#include <QDataStream>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStringList>

#include <unistd.h>

KVSingleInstance::KVSingleInstance(const QString &name, QObject *parent)
    : QObject(parent)
    , m_name(name) {
}

KVSingleInstance::~KVSingleInstance() = default;

QString KVSingleInstance::defaultName() {
    // Checks run their own instances beside a photographer's open window.
    const QString name = qEnvironmentVariable("KALVORA_INSTANCE_NAME");
    if (!name.isEmpty())
        return name;
    return QStringLiteral("kalvora-%1").arg(getuid());
}

bool KVSingleInstance::handOver(const QStringList &paths, int timeoutMilliseconds) {
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (!socket.waitForConnected(timeoutMilliseconds))
        return false;
    QByteArray message;
    QDataStream stream(&message, QIODevice::WriteOnly);
    stream << paths;
    socket.write(message);
    if (!socket.waitForBytesWritten(timeoutMilliseconds))
        return false;
    // The answer says the paths were taken, not merely that a socket was there.
    return socket.waitForReadyRead(timeoutMilliseconds) && socket.readAll() == "ok";
}

bool KVSingleInstance::listen(std::function<void(const QStringList &)> handler) {
    m_handler = std::move(handler);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_name)) {
        // A socket left by a program that crashed: nobody answered handOver, so it is stale.
        QLocalServer::removeServer(m_name);
        if (!m_server->listen(m_name))
            return false;
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                // A long list may come in several pieces: read it once it is whole.
                QDataStream stream(socket);
                stream.startTransaction();
                QStringList paths;
                stream >> paths;
                if (!stream.commitTransaction())
                    return;
                socket->write("ok");
                socket->flush();
                if (m_handler)
                    m_handler(paths);
            });
        }
    });
    return true;
}
