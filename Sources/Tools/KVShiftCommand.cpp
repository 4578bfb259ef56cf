// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include "KVPhotoWriter.h"
#include "KVRunProgress.h"
#include "KVSyncController.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

namespace {

struct ShiftOptions {
    double seconds = 0;
    QStringList cameras;
    bool json = false;
    QStringList paths;
};

// Empty when the arguments make no command.
std::optional<ShiftOptions> parseOptions(const QStringList &arguments) {
    ShiftOptions options;
    bool hasSeconds = false;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == QLatin1String("--json")) {
            options.json = true;
        } else if (argument == QLatin1String("--seconds") ||
                   argument == QLatin1String("--camera")) {
            if (i + 1 >= arguments.size())
                return std::nullopt;
            const QString value = arguments.at(++i);
            if (argument == QLatin1String("--camera")) {
                options.cameras << value;
                continue;
            }
            bool ok = false;
            options.seconds = value.toDouble(&ok);
            // Beyond a few thousand years no date of a photo makes sense.
            if (!ok || !std::isfinite(options.seconds) || std::fabs(options.seconds) > 1e11)
                return std::nullopt;
            hasSeconds = true;
        } else if (argument.startsWith(QLatin1String("--"))) {
            return std::nullopt;
        } else {
            options.paths << argument;
        }
    }
    if (!hasSeconds || options.paths.isEmpty())
        return std::nullopt;
    return options;
}

} // namespace

int KVRunShiftCommand(const QStringList &arguments) {
    const std::optional<ShiftOptions> options = parseOptions(arguments);
    if (!options)
        return 2;
    if (const std::optional<int> refused = KVCommandLine::refuseWhileInterrupted(true))
        return *refused;

    const std::optional<QString> runnableTool = KVCommandLine::runnableToolPath();
    if (!runnableTool)
        return 1;
    const QString tool = *runnableTool;
    KVSetToolPath(tool);
    // From here on Ctrl-C cancels, also while the run waits for another one to end.
    if (!KVRunProgress::installSignalHandlers()) {
        KVCommandLine::print(stderr, KVCommandLine::tr("kalvora-cli: cannot watch for Ctrl-C; "
                                                       "no photo was changed.\n"));
        return 1;
    }

    KVCommandLine commandLine;
    commandLine.addPaths(options->paths);
    KVCameraSets &model = commandLine.model();
    const QStringList keys = model.sortedCameras();
    for (const QString &key : options->cameras) {
        if (!keys.contains(key)) {
            KVCommandLine::print(stderr, KVCommandLine::tr("kalvora-cli: no camera %1 among the "
                                                           "photos (see kalvora-cli list)\n")
                                             .arg(key));
            return 2;
        }
    }
    QStringList chosen;
    for (const QString &key : options->cameras.isEmpty() ? keys : options->cameras) {
        // A camera named twice is still shifted once.
        if (!chosen.contains(key))
            chosen << key;
    }

    const qint64 seconds = std::llround(options->seconds);
    std::vector<KVPhotoChange> changes;
    std::map<QString, QString> cameraOfPath;
    for (const QString &key : chosen) {
        for (const KVImageFileRef &file : model.imagesForCameraWithIndex(int(keys.indexOf(key)))) {
            changes.push_back(KVSyncController::changeFor(file, seconds));
            cameraOfPath[file->path()] = key;
        }
    }

    KVSyncController controller;
    int signalNumber = 0;
    // A zero shift changes nothing.
    if (!changes.empty() && seconds != 0) {
        // Another run over these folders is waited for; Ctrl-C ends the wait.
        controller.setLockWait(std::chrono::hours(24),
                               [] { return KVRunProgress::signalPending(); });
        if (const std::optional<KVSyncController::Refusal> refusal =
                controller.start(KVRunKind::Shift, std::move(changes))) {
            KVRunProgress::restoreSignalHandlers();
            KVCommandLine::print(
                stderr,
                KVCommandLine::tr("kalvora-cli: %1\nNo photo was changed.\n").arg(refusal->text));
            return 1;
        }
        signalNumber = KVCommandLine::waitForRun(controller, options->json ? stderr : stdout,
                                                 [&] { controller.cancel(); });
    }
    KVRunProgress::restoreSignalHandlers();
    const KVSyncController::Outcome outcome =
        controller.lastOutcome().value_or(KVSyncController::Outcome());
    const bool cancelled = outcome.end == KVRunRecord::End::Cancelled;

    QJsonArray cameras;
    for (const QString &key : chosen) {
        const auto count = [&](const std::vector<KVPhotoChangeResult> &results) {
            return std::count_if(results.begin(), results.end(), [&](const auto &result) {
                return cameraOfPath[result.change.identity.path] == key;
            });
        };
        cameras.append(QJsonObject{
            {QStringLiteral("key"), key},
            {QStringLiteral("name"), model.nameForCameraWithIndex(int(keys.indexOf(key)))},
            {QStringLiteral("count"),
             static_cast<qint64>(model.imagesForCameraWithIndex(int(keys.indexOf(key))).size())},
            {QStringLiteral("changed"), static_cast<qint64>(count(outcome.changed))},
            {QStringLiteral("notChanged"), static_cast<qint64>(count(outcome.notChanged))},
        });
    }
    QJsonArray refused;
    for (const QVariantMap &record : commandLine.refusedFiles())
        refused.append(QJsonObject::fromVariantMap(record));

    if (options->json) {
        const QJsonObject root{
            {QStringLiteral("run"), outcome.runId},
            {QStringLiteral("seconds"), seconds},
            {QStringLiteral("cancelled"), cancelled},
            {QStringLiteral("cameras"), cameras},
            {QStringLiteral("changed"), KVCommandLine::photoArray(outcome.changed)},
            {QStringLiteral("notChanged"), KVCommandLine::photoArray(outcome.notChanged)},
            // After a cancel: the changed photos that were changed back, and which were not.
            {QStringLiteral("changedBack"), KVCommandLine::photoArray(outcome.changedBack)},
            {QStringLiteral("notChangedBack"), KVCommandLine::photoArray(outcome.notChangedBack)},
            {QStringLiteral("refused"), refused},
        };
        KVCommandLine::print(stdout, QString::fromUtf8(QJsonDocument(root).toJson()));
    } else {
        QString text;
        if (cancelled) {
            text += KVCommandLine::tr("Cancelled: %1 of the %2 photos already changed were changed "
                                      "back.\n")
                        .arg(outcome.changedBack.size())
                        .arg(outcome.changed.size());
        } else {
            text += KVCommandLine::tr("%1 of %2 photos shifted by %3 seconds.\n")
                        .arg(outcome.changed.size())
                        .arg(outcome.photoCount)
                        .arg(seconds);
        }
        text += KVCommandLine::photoList(KVCommandLine::tr("not changed"), outcome.notChanged);
        text += KVCommandLine::photoList(
            KVCommandLine::tr("NOT changed back, still shifted by %1 seconds").arg(seconds),
            outcome.notChangedBack);
        if (!refused.isEmpty())
            text += KVCommandLine::tr("refused: %1 (see kalvora-cli list)\n").arg(refused.size());
        KVCommandLine::print(stdout, text);
    }
    if (signalNumber != 0)
        return 128 + signalNumber;
    return outcome.notChanged.empty() && outcome.notChangedBack.empty() ? 0 : 1;
}
