// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include "KVFileName.h"
#include "KVRunProgress.h"
#include "KVRunRecovery.h"
#include "KVWallClock.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonObject>
#include <QSocketNotifier>
#include <QTimer>

#include <unistd.h>

#include <cmath>

KVCommandLine::KVCommandLine()
    : m_delegate(&m_ui) {
}

void KVCommandLine::addPaths(const QStringList &paths) {
    QStringList absolute;
    for (const QString &path : paths)
        absolute << KVFileName::absolute(path);
    const int reloadsBefore = m_ui.browserReloadCount();
    model().openFiles(absolute);
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

std::optional<QString> KVCommandLine::runnableToolPath() {
    const QString tool = KVAppDelegate::toolPathForBundle(bundlePath());
    if (QFileInfo(tool).isExecutable())
        return tool;
    print(stderr, tr("kalvora-cli: the tool %1 cannot be run; no "
                     "photo was changed.\n")
                      .arg(tool));
    return std::nullopt;
}

QString KVCommandLine::dateText(const QDateTime &date) {
    return KVWallClock::exifText(date);
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
    // A name that is not UTF-8 is shown as a terminal shows its bytes: replacement characters.
    std::fputs(KVFileName::displayed(text).toUtf8().constData(), stream);
}

std::optional<int> KVCommandLine::refuseWhileInterrupted(bool changesPhotos) {
    const std::vector<KVRunRecord> runs =
        KVRunRecovery::interruptedRuns(KVRunRecovery::Mode::ChangeBack);
    if (runs.empty())
        return std::nullopt;
    print(stderr, (changesPhotos ? tr("kalvora-cli: a run was cut off before it ended:\n%1Run "
                                      "\"kalvora-cli recover\" to change its photos back (or "
                                      "\"kalvora-cli recover --finish\" to finish it); no photo "
                                      "was changed.\n")
                                 : tr("kalvora-cli: a run was cut off before it ended:\n%1Run "
                                      "\"kalvora-cli recover\" to change its photos back (or "
                                      "\"kalvora-cli recover --finish\" to finish it).\n"))
                      .arg(KVRunRecovery::describe(runs)));
    if (!changesPhotos)
        return std::nullopt;
    return 1;
}

int KVCommandLine::waitForRun(KVSyncController &controller, std::FILE *progressStream,
                              const std::function<void()> &cancel) {
    const bool live = isatty(fileno(progressStream));
    QEventLoop loop;
    QElapsedTimer clock;
    int signalNumber = 0;
    QSocketNotifier notifier(KVRunProgress::signalFd(), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [&] {
        const int received = KVRunProgress::readSignal();
        if (received == 0)
            return;
        if (signalNumber != 0) {
            print(stderr, tr("\nStill changing back the photos already changed; please wait.\n"));
            return;
        }
        signalNumber = received;
        print(stderr, tr("\nCancelling: stopping the tools, then changing back the photos "
                         "already changed...\n"));
        cancel();
        clock.restart();
    });
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (live) {
            print(progressStream, KVRunProgress::line(controller.queue(), clock.elapsed()));
            std::fflush(progressStream);
        }
        if (!controller.isBusy())
            loop.quit();
    });
    clock.start();
    poll.start(50);
    if (controller.isBusy())
        loop.exec();
    poll.stop();
    if (live)
        std::fputc('\n', progressStream);
    return signalNumber;
}

QJsonArray KVCommandLine::photoArray(const std::vector<KVPhotoChangeResult> &results) {
    QJsonArray photos;
    for (const KVPhotoChangeResult &result : results) {
        QJsonObject photo{{QStringLiteral("path"), result.change.identity.path}};
        if (!result.outcome.reason.isEmpty())
            photo.insert(QStringLiteral("reason"), result.outcome.reason);
        photos.append(photo);
    }
    return photos;
}

QString KVCommandLine::table(const QStringList &headings, const QList<QStringList> &rows) {
    QList<qsizetype> widths(headings.size());
    for (const QStringList &row : QList<QStringList>{headings} + rows) {
        for (qsizetype column = 0; column < row.size() && column < widths.size(); ++column)
            widths[column] = std::max(widths[column], row[column].size());
    }
    QString text;
    for (const QStringList &row : QList<QStringList>{headings} + rows) {
        QString line;
        for (qsizetype column = 0; column < row.size() && column < widths.size(); ++column)
            line += row[column].leftJustified(widths[column] + 2);
        text += line.trimmed() + QLatin1Char('\n');
    }
    return text;
}

QString KVCommandLine::photoList(const QString &heading,
                                 const std::vector<KVPhotoChangeResult> &results) {
    if (results.empty())
        return {};
    QString text = QStringLiteral("%1: %2\n").arg(heading).arg(results.size());
    for (const KVPhotoChangeResult &result : results) {
        text += QStringLiteral("    %1").arg(result.change.identity.path);
        if (!result.outcome.reason.isEmpty())
            text += QStringLiteral(": ") + result.outcome.reason;
        text += QLatin1Char('\n');
    }
    return text;
}
