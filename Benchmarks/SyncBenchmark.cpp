// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

// How close the synchronization engine comes to the cost of the tool it runs: N photos shifted
// with one worker and with two, against what starting the tool N times costs on this machine.

#include "KVDateWriter.h"
#include "KVImageFile.h"
#include "KVOperationQueue.h"
#include "KVSynchronizationOperation.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

struct Options {
    int count = 200;
    int starts = 20;
    int operations = 4;
    QString tool = QStringLiteral(KALVORA_EXIFTOOL);
};

bool parseOptions(const QStringList &arguments, Options *options) {
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (i + 1 >= arguments.size())
            return false;
        const QString value = arguments.at(++i);
        bool ok = true;
        if (argument == QLatin1String("--count"))
            options->count = value.toInt(&ok);
        else if (argument == QLatin1String("--starts"))
            options->starts = value.toInt(&ok);
        else if (argument == QLatin1String("--operations"))
            options->operations = value.toInt(&ok);
        else if (argument == QLatin1String("--tool"))
            options->tool = value;
        else
            return false;
        if (!ok)
            return false;
    }
    return options->count > 0 && options->starts > 0 && options->operations >= 2;
}

// The sample photos that have a capture date, copied round-robin up to count files.
std::vector<KVImageFileRef> makePhotos(const QString &folder, int count) {
    const QDir samples(QStringLiteral(KALVORA_SAMPLES_DIR "/cameras"));
    QStringList sources;
    for (const QString &name : samples.entryList({QStringLiteral("*.jpg")}, QDir::Files)) {
        if (KVImageFile::initWithURL(QUrl::fromLocalFile(samples.filePath(name))))
            sources << samples.filePath(name);
    }
    std::vector<KVImageFileRef> photos;
    for (int i = 0; !sources.isEmpty() && i < count; ++i) {
        const QString source = sources.at(i % sources.size());
        const QString target = QStringLiteral("%1/%2-%3")
                                   .arg(folder)
                                   .arg(i, 4, 10, QLatin1Char('0'))
                                   .arg(QFileInfo(source).fileName());
        if (!QFile::copy(source, target))
            continue;
        QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner);
        if (KVImageFileRef photo = KVImageFile::initWithURL(QUrl::fromLocalFile(target)))
            photos.push_back(photo);
    }
    return photos;
}

// Mean seconds of one bare start of the tool, through the runner the writer uses.
double meanToolStart(const QString &tool, int starts) {
    const QByteArray command = "\"" + QFile::encodeName(tool) + "\" -ver";
    // The output is read as the writer reads it: a tool whose pipe is closed unread may die
    // of SIGPIPE before it has said anything.
    char output[kKVOutputBufferSize];
    int length = 0;
    KVRunShellCommand(command.constData(), output, &length); // warms the file cache
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < starts; ++i) {
        if (KVRunShellCommand(command.constData(), output, &length) != 0)
            return -1;
    }
    return clock.nsecsElapsed() / 1e9 / starts;
}

// Seconds per photo of the tool's own date write, without the engine around it, with the given
// number of threads writing at once (each on its own file): what the machine itself can do.
double meanToolWrite(const QString &folder, const QString &sample, int runs, int threads) {
    std::vector<QByteArray> paths;
    for (int t = 0; t < threads; ++t) {
        const QString path = QStringLiteral("%1/probe-%2.jpg").arg(folder).arg(t);
        QFile::remove(path);
        QFile::copy(sample, path);
        QFile::setPermissions(path, QFile::permissions(path) | QFile::WriteOwner);
        paths.push_back(QFile::encodeName(path));
    }
    std::atomic<bool> failed{false};
    QElapsedTimer clock;
    clock.start();
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([&, t] {
            for (int i = 0; i < runs; ++i) {
                if (KVWriteDatesWithTool(paths[t].constData(), "2011:01:02 03:04:05", 0, 1) != 0)
                    failed = true;
            }
        });
    }
    for (std::thread &writer : writers)
        writer.join();
    return failed ? -1 : clock.nsecsElapsed() / 1e9 / (runs * threads);
}

struct RunResult {
    double seconds = 0;
    qint64 changed = 0;
};

// Shifts every photo once, split over several operations so that each worker has some.
RunResult shift(const std::vector<KVImageFileRef> &photos, int workers, int operations,
                double interval) {
    std::vector<std::vector<KVImageFileRef>> parts(static_cast<size_t>(operations));
    for (size_t i = 0; i < photos.size(); ++i)
        parts[i % parts.size()].push_back(photos[i]);

    KVOperationQueue queue;
    queue.setMaxConcurrentOperationCount(workers);
    queue.reset();
    queue.setOperationType(KVOperationTypeSync);
    std::vector<KVSynchronizationOperationRef> registered;
    for (const auto &part : parts) {
        registered.push_back(std::make_shared<KVSynchronizationOperation>(interval, part));
        queue.addSynchronizationOperation(registered.back());
    }
    QElapsedTimer clock;
    clock.start();
    queue.startSynchronization();
    queue.waitUntilAllOperationsAreFinished();
    RunResult result;
    result.seconds = clock.nsecsElapsed() / 1e9;
    for (const auto &operation : registered)
        result.changed += static_cast<qint64>(operation->doneImageFiles().size());
    return result;
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    Options options;
    if (!parseOptions(QCoreApplication::arguments().mid(1), &options)) {
        std::fputs("usage: kalvora-bench-sync [--count N] [--starts M] [--operations K] "
                   "[--tool PATH]\n",
                   stderr);
        return 2;
    }
    const QByteArray tool = QFile::encodeName(options.tool);
    KVSetToolPath(tool.constData());

    QTemporaryDir folder;
    if (!folder.isValid()) {
        std::fputs("kalvora-bench-sync: no temporary folder\n", stderr);
        return 1;
    }
    // The writer's own copies go there too, and vanish with it.
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder.path()));
    const QString photosFolder = folder.filePath(QStringLiteral("photos"));
    QDir().mkpath(photosFolder);
    const std::vector<KVImageFileRef> photos = makePhotos(photosFolder, options.count);
    if (static_cast<int>(photos.size()) != options.count) {
        std::fprintf(stderr, "kalvora-bench-sync: only %zu of %d photos could be made\n",
                     photos.size(), options.count);
        return 1;
    }
    const double start = meanToolStart(options.tool, options.starts);
    const double writes[] = {
        meanToolWrite(folder.path(), photos.front()->path(), options.starts, 1),
        meanToolWrite(folder.path(), photos.front()->path(), options.starts, 2)};
    if (start <= 0 || writes[0] <= 0 || writes[1] <= 0) {
        std::fprintf(stderr, "kalvora-bench-sync: %s does not run\n", tool.constData());
        return 1;
    }

    const int n = options.count;
    std::printf("%d photos, %d operations, tool %s\n", n, options.operations, tool.constData());
    std::printf("tool start (-ver, mean of %d): %7.1f ms\n", options.starts, start * 1000);
    std::printf("tool date write, 1 at a time:  %7.1f ms per photo\n", writes[0] * 1000);
    std::printf("tool date write, 2 at a time:  %7.1f ms per photo (%.2fx)\n\n", writes[1] * 1000,
                writes[0] / writes[1]);
    std::printf("%-8s %9s %9s %11s %13s %13s %9s\n", "workers", "time s", "photos/s", "bound s",
                "overhead", "over write", "speed-up");
    double oneWorker = 0;
    bool allChanged = true;
    for (int workers : {1, 2}) {
        // The second run moves the dates back, so the files end as they began.
        const RunResult run =
            shift(photos, workers, options.operations, workers == 1 ? 3600 : -3600);
        allChanged = allChanged && run.changed == n;
        if (workers == 1)
            oneWorker = run.seconds;
        const double bound = n * start / workers;
        const double writeBound = n * writes[workers - 1];
        std::printf("%-8d %9.2f %9.2f %11.2f %12.1f%% %12.1f%% %8.2fx\n", workers, run.seconds,
                    n / run.seconds, bound, (run.seconds - bound) / bound * 100,
                    (run.seconds - writeBound) / writeBound * 100, oneWorker / run.seconds);
    }
    std::printf("\nbound = photos x tool start / workers; overhead = time over that bound;\n"
                "over write = time over the same photos written by the bare tool, as many at a\n"
                "time as there are workers (the engine and the writer's own copying).\n");
    if (!allChanged) {
        std::fputs("kalvora-bench-sync: some photos were not changed\n", stderr);
        return 1;
    }
    return 0;
}
