// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include "KVPhotoWriter.h"
#include "KVRunProgress.h"
#include "KVSyncController.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

int KVRunUndoCommand(const QStringList &arguments) {
    bool json = false;
    for (const QString &argument : arguments) {
        if (argument != QLatin1String("--json"))
            return 2;
        json = true;
    }
    if (const std::optional<int> refused = KVCommandLine::refuseWhileInterrupted(true))
        return *refused;
    const std::optional<QString> runnableTool = KVCommandLine::runnableToolPath();
    if (!runnableTool)
        return 1;
    const QString tool = *runnableTool;
    KVSetToolPath(tool);

    const std::optional<KVRunRecord> run = KVLastUndoableRun(KVRunRecord::all());
    if (!run) {
        KVCommandLine::print(stderr, KVCommandLine::tr("kalvora-cli: nothing to undo.\n"));
        return 0;
    }
    if (!KVRunProgress::installSignalHandlers()) {
        KVCommandLine::print(stderr, KVCommandLine::tr("kalvora-cli: cannot watch for Ctrl-C; "
                                                       "no photo was changed.\n"));
        return 1;
    }
    // Exactly the photos the run changed, each by its own shift, and only while it still has
    // the date the run gave it.
    KVSyncController controller;
    controller.setLockWait(std::chrono::hours(24), [] { return KVRunProgress::signalPending(); });
    if (const std::optional<KVSyncController::Refusal> refusal =
            controller.start(KVRunKind::Undo, KVSyncController::revertingChanges(*run), run->id)) {
        KVRunProgress::restoreSignalHandlers();
        KVCommandLine::print(
            stderr,
            KVCommandLine::tr("kalvora-cli: %1\nNo photo was changed.\n").arg(refusal->text));
        return 1;
    }
    const int signalNumber =
        KVCommandLine::waitForRun(controller, json ? stderr : stdout, [&] { controller.cancel(); });
    KVRunProgress::restoreSignalHandlers();
    const KVSyncController::Outcome outcome =
        controller.lastOutcome().value_or(KVSyncController::Outcome());
    const bool cancelled = outcome.end == KVRunRecord::End::Cancelled;

    if (json) {
        const QJsonObject root{
            {QStringLiteral("run"), outcome.runId},
            {QStringLiteral("undoes"), run->id},
            {QStringLiteral("cancelled"), cancelled},
            {QStringLiteral("movedBack"), KVCommandLine::photoArray(outcome.changed)},
            {QStringLiteral("notMovedBack"), KVCommandLine::photoArray(outcome.notChanged)},
            {QStringLiteral("notChangedBack"), KVCommandLine::photoArray(outcome.notChangedBack)},
        };
        KVCommandLine::print(stdout, QString::fromUtf8(QJsonDocument(root).toJson()));
    } else {
        QString text = KVCommandLine::tr("Undoing the %1 of %2:\n")
                           .arg(KVRunRecord::kindText(run->kind),
                                run->started.toLocalTime().toString(Qt::ISODate));
        for (const KVPhotoChangeResult &result : outcome.changed)
            text += QStringLiteral("    %1  %2 -> %3\n")
                        .arg(result.change.identity.path, result.outcome.oldDateText,
                             result.outcome.newDateText);
        text += KVCommandLine::tr("%1 of %2 photos moved back.\n")
                    .arg(outcome.changed.size())
                    .arg(outcome.photoCount);
        if (cancelled)
            text += KVCommandLine::tr("Cancelled: the photos moved back were moved forth again.\n");
        text += KVCommandLine::photoList(KVCommandLine::tr("NOT moved back"), outcome.notChanged);
        text += KVCommandLine::photoList(KVCommandLine::tr("NOT moved forth again"),
                                         outcome.notChangedBack);
        KVCommandLine::print(stdout, text);
    }
    if (signalNumber != 0)
        return 128 + signalNumber;
    return outcome.notChanged.empty() && outcome.notChangedBack.empty() ? 0 : 1;
}
