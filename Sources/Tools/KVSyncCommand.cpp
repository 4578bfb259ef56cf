// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"
#include "KVFileName.h"

#include "KVCameraOffsetMemory.h"
#include "KVRunProgress.h"
#include "KVWallClock.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <functional>
#include <optional>

namespace {

struct SyncOptions {
    QString reference;
    QDateTime base;
    QStringList matches;
    bool suggested = false;
    bool dryRun = false;
    bool json = false;
    QStringList paths;
};

std::optional<SyncOptions> parseOptions(const QStringList &arguments) {
    SyncOptions options;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        const bool takesValue = argument == QLatin1String("--reference") ||
                                argument == QLatin1String("--base") ||
                                argument == QLatin1String("--match");
        if (takesValue && i + 1 >= arguments.size())
            return std::nullopt;
        if (argument == QLatin1String("--reference")) {
            options.reference = KVFileName::absolute(arguments.at(++i));
        } else if (argument == QLatin1String("--base")) {
            options.base = KVWallClock::fromExifText(arguments.at(++i));
            if (!options.base.isValid())
                return std::nullopt;
        } else if (argument == QLatin1String("--match")) {
            options.matches << KVFileName::absolute(arguments.at(++i));
        } else if (argument == QLatin1String("--suggested")) {
            options.suggested = true;
        } else if (argument == QLatin1String("--dry-run")) {
            options.dryRun = true;
        } else if (argument == QLatin1String("--json")) {
            options.json = true;
        } else if (argument.startsWith(QLatin1String("--"))) {
            return std::nullopt;
        } else {
            options.paths << argument;
        }
    }
    if (options.paths.isEmpty())
        return std::nullopt;
    // The suggestions choose the photos themselves.
    if (options.suggested)
        return options.reference.isEmpty() && !options.base.isValid() && options.matches.isEmpty()
                   ? std::optional(options)
                   : std::nullopt;
    // One reference, of one kind; at least one matching photo.
    if (options.reference.isEmpty() == !options.base.isValid() || options.matches.isEmpty())
        return std::nullopt;
    return options;
}

KVImageFileRef findPhoto(KVCameraSets &model, const QString &path, int *camera) {
    for (int i = 0; i < model.numberOfCamerasInBrowser(); ++i) {
        for (const KVImageFileRef &file : model.imagesForCameraWithIndex(i)) {
            if (file->path() == path) {
                *camera = i;
                return file;
            }
        }
    }
    return nullptr;
}

int fail(const QString &message, int status) {
    KVCommandLine::print(stderr, KVCommandLine::tr("kalvora-cli: %1\n").arg(message));
    return status;
}

// Runs the window's Sync command (`start`) and waits for the run, and for the change-back of a
// Ctrl-C, to end. Returns the signal that cancelled it, or 0.
int runSynchronization(KVCommandLine &commandLine, std::FILE *progressStream,
                       const std::function<void()> &start) {
    KVAppDelegate &delegate = commandLine.delegate();
    KVSyncController &controller = delegate.syncController();
    // Another run over these folders is waited for; Ctrl-C ends the wait.
    controller.setLockWait(std::chrono::hours(24), [] { return KVRunProgress::signalPending(); });
    start();
    // Pressing the button again while the run goes is its Cancel.
    const int signalNumber = KVCommandLine::waitForRun(controller, progressStream,
                                                       [&] { delegate.synchronizeTimeOrCancel(); });
    // What the end of the run shows is shown from the event loop.
    QCoreApplication::processEvents();
    return signalNumber;
}

} // namespace

int KVRunSyncCommand(const QStringList &arguments) {
    const std::optional<SyncOptions> options = parseOptions(arguments);
    if (!options)
        return 2;
    if (const std::optional<int> refused = KVCommandLine::refuseWhileInterrupted(!options->dryRun))
        return *refused;
    KVCommandLine commandLine;
    KVAppDelegate &delegate = commandLine.delegate();
    const QString tool = KVAppDelegate::toolPathForBundle(KVCommandLine::bundlePath());
    if (!options->dryRun && !QFileInfo(tool).isExecutable())
        return fail(KVCommandLine::tr("the tool %1 cannot be run; no photo was changed.").arg(tool),
                    1);
    delegate.awakeFromNib();
    delegate.applicationDidFinishLaunching(KVCommandLine::bundlePath());
    commandLine.addPaths(options->paths);

    QJsonArray table;
    QString text;
    std::function<void()> start;
    if (options->suggested) {
        const KVCameraOffsetMemory memory;
        const KVSuggestedMatches suggestion =
            KVSuggestedMatches::suggest(delegate.imageFiles(), QString(), &memory);
        const KVTimeIntervals intervals = suggestion.confidentIntervals();
        text = KVSuggestionText(suggestion);
        for (const auto &[key, interval] : intervals) {
            const KVSuggestedMatches::Camera *camera = suggestion.cameraWithKey(key);
            table.append(QJsonObject{
                {QStringLiteral("key"), key},
                {QStringLiteral("seconds"), interval},
                {QStringLiteral("photos"),
                 static_cast<qint64>(delegate.imageFiles()->at(key).size())},
                {QStringLiteral("match"),
                 camera->matchPhoto ? QJsonValue(camera->matchPhoto->path()) : QJsonValue()}});
        }
        text +=
            intervals.empty()
                ? KVCommandLine::tr("no camera is sure enough to sync by its suggested offset\n")
                : KVCommandLine::tr("%1 of %2 cameras sure enough to sync by the offsets above\n")
                      .arg(intervals.size())
                      .arg(suggestion.cameras.size());
        if (intervals.empty() && !options->json) {
            KVCommandLine::print(stdout, text);
            return 0;
        }
        start = [&delegate, intervals, reference = suggestion.referenceKey] {
            delegate.synchronizeTimeIntervals(intervals, reference);
        };
    } else {
        // The photos are marked the way clicks mark them: a double click for the reference, a
        // click for each matching photo.
        int referenceCamera = -1;
        if (!options->reference.isEmpty()) {
            KVImageFileRef reference =
                findPhoto(delegate.cameraSets(), options->reference, &referenceCamera);
            if (!reference)
                return fail(
                    KVCommandLine::tr("%1 is not among the photos read").arg(options->reference),
                    2);
            reference->setImageState(KVImageStateEtalon);
        }
        QList<int> matchedCameras;
        for (const QString &path : options->matches) {
            int camera = -1;
            KVImageFileRef match = findPhoto(delegate.cameraSets(), path, &camera);
            if (!match)
                return fail(KVCommandLine::tr("%1 is not among the photos read").arg(path), 2);
            if (camera == referenceCamera || matchedCameras.contains(camera))
                return fail(
                    KVCommandLine::tr("%1: one matching photo per camera, none on the reference's "
                                      "camera")
                        .arg(path),
                    2);
            matchedCameras << camera;
            match->setImageState(KVImageStateSelected);
        }
        if (options->base.isValid()) {
            KVManualDateTimeViewController &manual = delegate.manualDateTimeViewController();
            manual.setFullDate(options->base);
            manual.setIsEtalonDateSet(true);
        }

        const KVReferenceSet set = delegate.etalonWithSelectedImages();
        const KVTimeIntervals intervals = set.timeIntervals();
        text =
            KVCommandLine::tr("reference: %1, %2\n")
                .arg(set.etalon->path().isEmpty() ? set.etalon->cameraName() : set.etalon->path(),
                     KVCommandLine::dateText(set.etalon->creationDate()));
        for (const auto &[key, interval] : intervals) {
            const KVImageFileRef &match = set.selectedImages.at(key);
            const qsizetype photos = delegate.imageFiles()->at(key).size();
            text += KVCommandLine::tr("%1  %2  %3 photos  (matching %4, %5)\n")
                        .arg(key, KVCommandLine::offsetText(interval))
                        .arg(photos)
                        .arg(match->path(), KVCommandLine::dateText(match->creationDate()));
            table.append(QJsonObject{{QStringLiteral("key"), key},
                                     {QStringLiteral("seconds"), interval},
                                     {QStringLiteral("photos"), static_cast<qint64>(photos)},
                                     {QStringLiteral("match"), match->path()}});
        }

        start = [&delegate] { delegate.synchronizeTimeOrCancel(); };
    }
    if (!options->json)
        KVCommandLine::print(stdout, text);

    int signalNumber = 0;
    if (!options->dryRun) {
        if (!KVRunProgress::installSignalHandlers())
            return fail(KVCommandLine::tr("cannot watch for Ctrl-C; no photo was changed."), 1);
        signalNumber = runSynchronization(commandLine, options->json ? stderr : stdout, start);
        KVRunProgress::restoreSignalHandlers();
    }

    KVHeadlessUserInterface &ui = commandLine.userInterface();
    QJsonArray alerts;
    for (const KVHeadlessUserInterface::Alert &alert : ui.alerts())
        alerts.append(alert.title + QStringLiteral(": ") + alert.text);
    const KVSyncController::Outcome outcome =
        delegate.syncController().lastOutcome().value_or(KVSyncController::Outcome());
    // The photos the run did not change, those it never reached included.
    std::vector<KVPhotoChangeResult> notChangedResults = outcome.notChanged;
    if (outcome.end == KVRunRecord::End::Abandoned)
        notChangedResults.insert(notChangedResults.end(), outcome.unreached.begin(),
                                 outcome.unreached.end());
    const QJsonArray notChanged = KVCommandLine::photoArray(notChangedResults);
    const QString message = ui.displayedText();
    if (options->json) {
        const QJsonObject root{
            {QStringLiteral("intervals"), table},
            {QStringLiteral("dryRun"), options->dryRun},
            {QStringLiteral("cancelled"), signalNumber != 0},
            {QStringLiteral("message"), message},
            {QStringLiteral("alerts"), alerts},
            {QStringLiteral("run"), outcome.runId},
            {QStringLiteral("changed"), KVCommandLine::photoArray(outcome.changed)},
            {QStringLiteral("notChanged"), notChanged},
            {QStringLiteral("changedBack"), KVCommandLine::photoArray(outcome.changedBack)},
            {QStringLiteral("notChangedBack"), KVCommandLine::photoArray(outcome.notChangedBack)}};
        KVCommandLine::print(stdout, QString::fromUtf8(QJsonDocument(root).toJson()));
    } else if (!options->dryRun) {
        QString report;
        for (const QJsonValue &alert : alerts)
            report += alert.toString() + QLatin1Char('\n');
        if (!message.isEmpty())
            report += message + QLatin1Char('\n');
        if (outcome.end == KVRunRecord::End::Abandoned)
            report += KVCommandLine::photoList(KVCommandLine::tr("changed"), outcome.changed);
        report += KVCommandLine::photoList(KVCommandLine::tr("not changed"), notChangedResults);
        report +=
            KVCommandLine::photoList(KVCommandLine::tr("NOT changed back"), outcome.notChangedBack);
        KVCommandLine::print(stdout, report);
    }
    if (signalNumber != 0)
        return 128 + signalNumber;
    return alerts.isEmpty() && notChanged.isEmpty() && outcome.notChangedBack.empty() ? 0 : 1;
}
