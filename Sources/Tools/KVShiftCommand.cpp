// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include "KVPhotoWriter.h"
#include "KVDispatch.h"
#include "KVRunProgress.h"
#include "KVOperationQueue.h"
#include "KVSynchronizationOperation.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <unistd.h>

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

struct CameraRun {
    QString key;
    QString name;
    KVSynchronizationOperationRef operation;
};

// One shift run: the queue, its operations and what the terminal shows of it. Callbacks from
// the workers only post to the main thread; everything printed is printed there.
class ShiftRun : public KVObserver, public std::enable_shared_from_this<ShiftRun> {
public:
    ShiftRun(std::FILE *progressStream, bool liveProgress)
        : m_stream(progressStream)
        , m_live(liveProgress) {}
    ~ShiftRun() override {
        m_queue.removeObserver(this);
        for (const CameraRun &camera : m_cameras)
            camera.operation->removeObserver(this);
    }

    void addCamera(const QString &key, const QString &name, double seconds,
                   const std::vector<KVImageFileRef> &files) {
        auto operation = std::make_shared<KVSynchronizationOperation>(seconds, files);
        operation->addObserver(this, QStringLiteral("isFinished"));
        m_cameras.push_back({key, name, operation});
    }

    // Runs the operations the way the window does, until the queue has emptied; returns the
    // signal that cancelled the run, or 0.
    int exec() {
        m_queue.reset();
        m_queue.setOperationType(KVOperationTypeSync);
        for (const CameraRun &camera : m_cameras)
            m_queue.addSynchronizationOperation(camera.operation);
        m_queue.addObserver(this, QStringLiteral("operationCount"));
        std::weak_ptr<ShiftRun> weak = weak_from_this();
        m_queue.setCompletetionBlock([weak] {
            if (auto run = weak.lock())
                run->m_loop.quit();
        });

        QSocketNotifier notifier(KVRunProgress::signalFd(), QSocketNotifier::Read);
        QObject::connect(&notifier, &QSocketNotifier::activated, [this] { readSignal(); });
        QTimer redraw;
        if (m_live) {
            QObject::connect(&redraw, &QTimer::timeout, [this] { drawProgress(); });
            redraw.start(100);
        }
        m_clock.start();
        m_queue.startSynchronization();
        m_loop.exec();
        redraw.stop();
        if (m_live) {
            drawProgress();
            std::fputc('\n', m_stream);
        }
        return m_signal;
    }

    const std::vector<CameraRun> &cameras() const { return m_cameras; }
    // Photos a cancel could not move back: their dates are still shifted.
    QList<QUrl> notRevertedFiles() const {
        QList<QUrl> files;
        if (m_queue.isOperationsCancelled()) {
            for (const KVSynchronizationOperationRef &operation : m_queue.allSyncOperations())
                files += operation->notChangedFiles();
        }
        return files;
    }
    qint64 revertedCount() const {
        qint64 count = 0;
        if (m_queue.isOperationsCancelled()) {
            for (const KVSynchronizationOperationRef &operation : m_queue.allSyncOperations())
                count += static_cast<qint64>(operation->doneImageFiles().size());
        }
        return count;
    }

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override {
        std::weak_ptr<ShiftRun> weak = weak_from_this();
        if (keyPath == QLatin1String("operationCount")) {
            if (m_queue.operationCount() == 0) {
                KVDispatchMain([weak] {
                    if (auto run = weak.lock())
                        run->queueDidEmpty();
                });
            }
        } else if (keyPath == QLatin1String("isFinished")) {
            KVDispatchMain([weak, object] {
                if (auto run = weak.lock())
                    run->operationDidFinish(object);
            });
        }
    }

private:
    void queueDidEmpty() {
        // The queue may have been refilled since the notice was posted (a cancel adds the
        // reverting operations), so the count is looked at again here.
        if (m_queue.operationCount() != 0)
            return;
        if (KVOperationQueue::CompletionBlock block = m_queue.completetionBlock()) {
            m_queue.setCompletetionBlock({});
            block();
        }
        if (m_signal != 0 && m_cancelDone)
            m_loop.quit();
    }

    void operationDidFinish(KVObservable *object) {
        if (m_live)
            return;
        for (const CameraRun &camera : m_cameras) {
            if (camera.operation.get() != object)
                continue;
            const KVSynchronizationOperationRef &operation = camera.operation;
            std::fprintf(m_stream, "%s: %lld of %lld photos changed, %lld not changed%s\n",
                         camera.key.toUtf8().constData(),
                         static_cast<long long>(operation->doneImageFiles().size()),
                         static_cast<long long>(operation->imageFilesCount()),
                         static_cast<long long>(operation->notChangedFiles().size()),
                         operation->isCancelled() ? " (cancelled)" : "");
            std::fflush(m_stream);
        }
    }

    void readSignal() {
        const int signalNumber = KVRunProgress::readSignal();
        if (signalNumber == 0)
            return;
        if (m_signal != 0) {
            std::fputs("\nStill changing back the photos already changed; please wait.\n", stderr);
            return;
        }
        m_signal = signalNumber;
        std::fputs("\nCancelling: waiting for the photos being written, then changing back the "
                   "photos already changed...\n",
                   stderr);
        // As the window's Cancel: no completion, then wait for the workers and revert.
        m_queue.setCompletetionBlock({});
        m_queue.cancelAllOperations();
        m_cancelDone = true;
        m_clock.restart();
        if (m_queue.operationCount() == 0)
            m_loop.quit();
    }

    void drawProgress() {
        KVCommandLine::print(m_stream, KVRunProgress::line(m_queue, m_clock.elapsed()));
        std::fflush(m_stream);
    }

    std::FILE *m_stream;
    bool m_live;
    KVOperationQueue m_queue;
    std::vector<CameraRun> m_cameras;
    QEventLoop m_loop;
    QElapsedTimer m_clock;
    int m_signal = 0;
    bool m_cancelDone = false;
};

QJsonArray pathArray(const QList<QUrl> &urls) {
    QJsonArray paths;
    for (const QUrl &url : urls)
        paths.append(url.toLocalFile());
    return paths;
}

} // namespace

int KVRunShiftCommand(const QStringList &arguments) {
    const std::optional<ShiftOptions> options = parseOptions(arguments);
    if (!options)
        return 2;

    // Checked before anything is read, so that no photo is ever handed to a missing tool.
    const QString tool = KVAppDelegate::toolPathForBundle(KVCommandLine::bundlePath());
    if (!QFileInfo(tool).isExecutable()) {
        KVCommandLine::print(stderr, QStringLiteral("kalvora-cli: the tool %1 cannot be run; no "
                                                    "photo was changed.\n")
                                         .arg(tool));
        return 1;
    }
    KVSetToolPath(tool.toUtf8().constData());

    KVCommandLine commandLine;
    commandLine.addPaths(options->paths);
    KVAppDelegate &model = commandLine.model();
    const QStringList keys = model.sortedCameras();
    for (const QString &key : options->cameras) {
        if (!keys.contains(key)) {
            KVCommandLine::print(stderr, QStringLiteral("kalvora-cli: no camera %1 among the "
                                                        "photos (see kalvora-cli list)\n")
                                             .arg(key));
            return 2;
        }
    }
    const QStringList chosen = options->cameras.isEmpty() ? keys : options->cameras;

    std::FILE *progressStream = options->json ? stderr : stdout;
    const bool live = isatty(fileno(progressStream));
    auto run = std::make_shared<ShiftRun>(progressStream, live);
    QStringList seen;
    for (const QString &key : chosen) {
        // A camera named twice is still shifted once.
        if (seen.contains(key))
            continue;
        seen << key;
        const int index = static_cast<int>(keys.indexOf(key));
        run->addCamera(key, model.nameForCameraWithIndex(index), options->seconds,
                       model.imagesForCameraWithIndex(index));
    }

    int signalNumber = 0;
    // No operation would leave the queue in a run forever, and a zero shift changes nothing.
    if (!run->cameras().empty() && options->seconds != 0) {
        if (!KVRunProgress::installSignalHandlers()) {
            KVCommandLine::print(stderr, QStringLiteral("kalvora-cli: cannot watch for Ctrl-C; "
                                                        "no photo was changed.\n"));
            return 1;
        }
        signalNumber = run->exec();
        KVRunProgress::restoreSignalHandlers();
    }

    QJsonArray cameras;
    QList<QUrl> notChanged;
    qint64 changedCount = 0;
    for (const CameraRun &camera : run->cameras()) {
        const QList<QUrl> cameraNotChanged = camera.operation->notChangedFiles();
        const qint64 changed = static_cast<qint64>(camera.operation->doneImageFiles().size());
        notChanged += cameraNotChanged;
        changedCount += changed;
        cameras.append(QJsonObject{
            {QStringLiteral("key"), camera.key},
            {QStringLiteral("name"), camera.name},
            {QStringLiteral("count"), static_cast<qint64>(camera.operation->imageFilesCount())},
            {QStringLiteral("changed"), changed},
            {QStringLiteral("notChanged"), pathArray(cameraNotChanged)},
        });
    }
    const QList<QUrl> notReverted = run->notRevertedFiles();
    QJsonArray refused;
    for (const QVariantMap &record : commandLine.refusedFiles())
        refused.append(QJsonObject::fromVariantMap(record));

    if (options->json) {
        const QJsonObject root{
            {QStringLiteral("seconds"), options->seconds},
            {QStringLiteral("cancelled"), signalNumber != 0},
            {QStringLiteral("cameras"), cameras},
            {QStringLiteral("changed"), changedCount},
            // After a cancel: how many of the changed photos were changed back, and which not.
            {QStringLiteral("reverted"), run->revertedCount()},
            {QStringLiteral("notChanged"), pathArray(notChanged)},
            {QStringLiteral("notReverted"), pathArray(notReverted)},
            {QStringLiteral("refused"), refused},
        };
        KVCommandLine::print(stdout, QString::fromUtf8(QJsonDocument(root).toJson()));
    } else {
        QString text;
        if (signalNumber != 0) {
            text += QStringLiteral("Cancelled: %1 of the %2 photos already changed were changed "
                                   "back.\n")
                        .arg(run->revertedCount())
                        .arg(changedCount);
        } else {
            text += QStringLiteral("%1 photos shifted by %2 seconds.\n")
                        .arg(changedCount)
                        .arg(options->seconds);
        }
        if (!notChanged.isEmpty()) {
            text += QStringLiteral("not changed: %1\n").arg(notChanged.size());
            for (const QUrl &url : notChanged)
                text += QStringLiteral("    %1\n").arg(url.toLocalFile());
        }
        if (!notReverted.isEmpty()) {
            text += QStringLiteral("NOT changed back, still shifted by %1 seconds: %2\n")
                        .arg(options->seconds)
                        .arg(notReverted.size());
            for (const QUrl &url : notReverted)
                text += QStringLiteral("    %1\n").arg(url.toLocalFile());
        }
        if (!refused.isEmpty())
            text += QStringLiteral("refused: %1 (see kalvora-cli list)\n").arg(refused.size());
        KVCommandLine::print(stdout, text);
    }
    if (signalNumber != 0)
        return 128 + signalNumber;
    return notChanged.isEmpty() && notReverted.isEmpty() ? 0 : 1;
}
