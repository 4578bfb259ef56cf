// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>

#include <cmath>

KVCommandLine::KVCommandLine()
    : m_model(&m_ui) {
}

void KVCommandLine::addPaths(const QStringList &paths) {
    QStringList absolute;
    for (const QString &path : paths)
        absolute << QFileInfo(path).absoluteFilePath();
    const int reloadsBefore = m_ui.browserReloadCount();
    m_model.openFiles(absolute);
    // The result is installed on this thread, so the loop only has to run until it arrives;
    // the report of refused files is queued just before it.
    while (m_ui.browserReloadCount() == reloadsBefore)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::processEvents();
}

QList<QVariantMap> KVCommandLine::refusedFiles() const {
    QList<QVariantMap> refused;
    for (const auto &report : m_ui.fileReports()) {
        if (report.type == KVUserInterface::NotAddedFiles)
            refused += report.records;
    }
    return refused;
}

QString KVCommandLine::bundlePath() {
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../.."));
}

QString KVCommandLine::dateText(const QDateTime &date) {
    return date.toString(QStringLiteral("yyyy:MM:dd HH:mm:ss"));
}

QString KVCommandLine::offsetText(double seconds) {
    const qint64 whole = std::llround(std::fabs(seconds));
    return QStringLiteral("%1%2 s (%1%3:%4:%5)")
        .arg(seconds < 0 ? QStringLiteral("-") : QStringLiteral("+"))
        .arg(std::fabs(seconds), 0, 'f', 0)
        .arg(whole / 3600)
        .arg(whole / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(whole % 60, 2, 10, QLatin1Char('0'));
}

void KVCommandLine::print(std::FILE *stream, const QString &text) {
    std::fputs(text.toUtf8().constData(), stream);
}
