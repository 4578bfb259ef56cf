// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

// How the whole sync path compares with the best the tool can do alone: N large camera JPEGs
// shifted through a run as one camera and as four, against one tool process that
// writes the same six tags to the same files in one batch; and the peak memory it took.

#include "KVChildProcess.h"
#include "KVDateTags.h"
#include "KVImageFile.h"
#include "KVPhotoWriter.h"
#include "KVSyncController.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <exiv2/exiv2.hpp>

#include <cstdio>
#include <map>
#include <vector>

#include <unistd.h>

namespace {

struct Options {
    int count = 100;
    int width = 6000;
    int height = 4000;
    QString folder; // where the photos are made; a fresh temporary folder when empty
    QString tool = QStringLiteral(KALVORA_EXIFTOOL);
    int workers = 0; // as many as the machine has cores when 0, as a run of the window has
};

bool parseOptions(const QStringList &arguments, Options *options) {
    for (int i = 0; i + 1 < arguments.size(); i += 2) {
        const QString &argument = arguments.at(i);
        const QString &value = arguments.at(i + 1);
        bool ok = true;
        if (argument == QLatin1String("--count"))
            options->count = value.toInt(&ok);
        else if (argument == QLatin1String("--width"))
            options->width = value.toInt(&ok);
        else if (argument == QLatin1String("--height"))
            options->height = value.toInt(&ok);
        else if (argument == QLatin1String("--folder"))
            options->folder = value;
        else if (argument == QLatin1String("--tool"))
            options->tool = value;
        else if (argument == QLatin1String("--workers"))
            options->workers = value.toInt(&ok);
        else
            return false;
        if (!ok)
            return false;
    }
    return arguments.size() % 2 == 0 && options->count > 0 && options->width > 0 &&
           options->height > 0 && options->workers >= 0;
}

// A picture with the detail of a real one (gradients, shapes and sensor-like noise), so that
// the JPEG has the size a camera's has.
QImage detailedPicture(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    QLinearGradient sky(0, 0, width, height);
    sky.setColorAt(0, QColor(40, 90, 160));
    sky.setColorAt(1, QColor(220, 180, 120));
    QPainter painter(&image);
    painter.fillRect(image.rect(), sky);
    QRandomGenerator random(20261123);
    for (int i = 0; i < 400; ++i) {
        painter.setBrush(QColor::fromRgb(random.generate() | 0xff000000));
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QPoint(random.bounded(width), random.bounded(height)),
                            random.bounded(20, 400), random.bounded(20, 400));
    }
    painter.end();
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int noise = int(random.bounded(28u)) - 14;
            const QRgb p = line[x];
            line[x] = qRgb(qBound(0, qRed(p) + noise, 255), qBound(0, qGreen(p) + noise, 255),
                           qBound(0, qBlue(p) + noise, 255));
        }
    }
    return image;
}

// The camera's EXIF block put into the made JPEG, with the model naming one of the cameras.
bool copyCameraExif(const QString &camera, const QString &target, const QString &model) {
    try {
        Exiv2::Image::AutoPtr source = Exiv2::ImageFactory::open(camera.toStdString());
        source->readMetadata();
        Exiv2::ExifData exif = source->exifData();
        // The picture's own size, and no embedded thumbnail of another picture.
        exif["Exif.Photo.PixelXDimension"] = uint32_t(0);
        exif["Exif.Image.Model"] = model.toStdString();
        Exiv2::ExifThumb(exif).erase();
        Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(target.toStdString());
        image->readMetadata();
        image->setExifData(exif);
        image->writeMetadata();
        return true;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "kalvora-bench-sync: %s\n", error.what());
        return false;
    }
}

QString photoPath(const QString &folder, int index) {
    return QStringLiteral("%1/IMG_%2.jpg").arg(folder).arg(index, 4, 10, QChar('0'));
}

// One picture made and compressed once; its copies carry the camera's EXIF, a quarter of them
// for each of four cameras.
int makePhotos(const QString &folder, int count, int width, int height) {
    const QString camera = QStringLiteral(KALVORA_SAMPLES_DIR "/cameras/Canon_40D.jpg");
    const QString master = folder + QStringLiteral("/master.jpg");
    if (!detailedPicture(width, height).save(master, "JPEG", 92)) {
        std::fputs("kalvora-bench-sync: the picture could not be saved\n", stderr);
        return 1;
    }
    for (int i = 0; i < count; ++i) {
        const QString path = photoPath(folder, i);
        if (!QFile::copy(master, path) ||
            !copyCameraExif(camera, path, QStringLiteral("Camera %1").arg(i * 4 / count + 1)))
            return 1;
    }
    QFile::remove(master);
    return 0;
}

qint64 peakResidentKilobytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

// Times one run as the window makes it: journalled, the photos spread over one worker per core
// whatever their camera. The run's outcome, or nothing when it was refused.
std::optional<KVSyncController::Outcome>
timedRun(KVRunKind kind, std::vector<KVPhotoChange> changes, int workers, double *seconds) {
    KVSyncController controller;
    if (workers > 0)
        controller.setWorkerCount(workers);
    QEventLoop loop;
    controller.setEndHandler([&](const KVSyncController::Outcome &) { loop.quit(); });
    QElapsedTimer clock;
    clock.start();
    if (const std::optional<KVSyncController::Refusal> refusal =
            controller.start(kind, std::move(changes))) {
        std::fprintf(stderr, "kalvora-bench-sync: %s\n", qPrintable(refusal->text));
        return std::nullopt;
    }
    loop.exec();
    *seconds = clock.nsecsElapsed() / 1e9;
    return controller.lastOutcome();
}

// Every photo shifted once, the cameras one after the other in the plan.
std::vector<KVPhotoChange> shiftOfCameras(const std::vector<KVImageFileRef> &photos, int cameras,
                                          qint64 seconds) {
    std::vector<std::vector<KVImageFileRef>> parts(static_cast<size_t>(cameras));
    for (size_t i = 0; i < photos.size(); ++i)
        parts[i * parts.size() / photos.size()].push_back(photos[i]);
    std::vector<KVPhotoChange> changes;
    for (const auto &part : parts) {
        for (const KVImageFileRef &photo : part)
            changes.push_back(KVSyncController::changeFor(photo, seconds));
    }
    return changes;
}

// The changes that undo the run of that id, as Edit > Undo makes them.
std::vector<KVPhotoChange> undoOf(const QString &runId) {
    for (const KVRunRecord &run : KVRunRecord::all()) {
        if (run.id == runId)
            return KVSyncController::revertingChanges(run);
    }
    return {};
}

qsizetype changedCount(const std::optional<KVSyncController::Outcome> &outcome) {
    return outcome ? static_cast<qsizetype>(outcome->changed.size()) : 0;
}

// One tool process writing the six tags to every photo, as a user would run it by hand.
double toolBatch(const QString &tool, const std::vector<KVImageFileRef> &photos, bool *ok) {
    std::vector<std::string> arguments{QFile::encodeName(tool).toStdString(),
                                       "-overwrite_original"};
    for (const std::string &argument : KVDateTags::toolArguments("2011:01:02 03:04:05"))
        arguments.push_back(argument);
    for (const KVImageFileRef &photo : photos)
        arguments.push_back(QFile::encodeName(photo->path()).toStdString());
    QElapsedTimer clock;
    clock.start();
    KVChildProcess process;
    *ok = process.start(arguments);
    const std::string output = process.readAll();
    *ok = *ok && process.wait() == 0;
    const double seconds = clock.nsecsElapsed() / 1e9;
    if (!*ok)
        std::fprintf(stderr, "kalvora-bench-sync: the batch failed: %s\n", output.c_str());
    return seconds;
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--make-photos"))
        return makePhotos(arguments.value(2), arguments.value(3).toInt(),
                          arguments.value(4).toInt(), arguments.value(5).toInt());
    Options options;
    if (!parseOptions(QCoreApplication::arguments().mid(1), &options)) {
        std::fputs("usage: kalvora-bench-sync [--count N] [--width W] [--height H] "
                   "[--folder PATH] [--tool PATH] [--workers N]\n",
                   stderr);
        return 2;
    }
    KVSetToolPath(options.tool);
    // The runs' journals stay with the benchmark, out of the user's history.
    const QTemporaryDir state;
    qputenv("XDG_STATE_HOME", QFile::encodeName(state.path()));
    QTemporaryDir temporary(options.folder.isEmpty() ? QDir::tempPath() + "/kalvora-bench-XXXXXX"
                                                     : options.folder + "/kalvora-bench-XXXXXX");
    if (!temporary.isValid()) {
        std::fputs("kalvora-bench-sync: no folder for the photos\n", stderr);
        return 1;
    }
    // Made by a process of its own, so that the picture's pixels do not count in the peak.
    KVChildProcess maker;
    const std::vector<std::string> makerArguments{
        QFile::encodeName(QCoreApplication::applicationFilePath()).toStdString(),
        "--make-photos",
        QFile::encodeName(temporary.path()).toStdString(),
        std::to_string(options.count),
        std::to_string(options.width),
        std::to_string(options.height)};
    if (!maker.start(makerArguments) ||
        (std::fputs(maker.readAll().c_str(), stderr), maker.wait()) != 0)
        return 1;
    std::vector<KVImageFileRef> photos;
    for (int i = 0; i < options.count; ++i) {
        if (KVImageFileRef photo =
                KVImageFile::initWithURL(QUrl::fromLocalFile(photoPath(temporary.path(), i))))
            photos.push_back(photo);
    }
    if (static_cast<int>(photos.size()) != options.count) {
        std::fputs("kalvora-bench-sync: the photos have no readable date\n", stderr);
        return 1;
    }
    const qint64 size = QFileInfo(photos.front()->path()).size();
    std::map<QString, QString> before;
    for (const KVImageFileRef &photo : photos)
        before[photo->path()] = KVDateTags::read(photo->path())->captureDateText();

    // The made photos' bytes reach the disk before any clock starts: otherwise the first run
    // would wait for them behind its own writes.
    ::sync();
    double one = 0;
    double four = 0;
    double undo = 0;
    const std::optional<KVSyncController::Outcome> oneRun =
        timedRun(KVRunKind::Sync, shiftOfCameras(photos, 1, 60), options.workers, &one);
    const std::optional<KVSyncController::Outcome> fourRun =
        timedRun(KVRunKind::Sync, shiftOfCameras(photos, 4, 60), options.workers, &four);
    const std::optional<KVSyncController::Outcome> undoRun =
        fourRun ? timedRun(KVRunKind::Undo, undoOf(fourRun->runId), options.workers, &undo)
                : std::nullopt;
    int exact = 0;
    for (const KVImageFileRef &photo : photos) {
        const std::optional<KVDateTags> tags = KVDateTags::read(photo->path());
        if (tags && tags->allAre(KVDateTags::shifted(before[photo->path()], 60)))
            ++exact;
    }
    bool batchOk = false;
    const double batch = toolBatch(options.tool, photos, &batchOk);
    if (!batchOk)
        return 1;

    std::printf("%d photos of %d x %d px, %.1f MB each, camera EXIF of %s\n", options.count,
                options.width, options.height, size / 1e6, "Canon_40D.jpg");
    std::printf("one camera:                  %8.2f s  (%lld changed)\n", one,
                static_cast<long long>(changedCount(oneRun)));
    std::printf("four cameras:                %8.2f s  (%lld changed)\n", four,
                static_cast<long long>(changedCount(fourRun)));
    std::printf("undo of the four cameras:    %8.2f s  (%lld changed)\n", undo,
                static_cast<long long>(changedCount(undoRun)));
    std::printf("exact after the three runs:  %8d photos of %d\n", exact, options.count);
    std::printf("exiftool batch, one process: %8.2f s\n", batch);
    std::printf("one camera / batch:          %8.2f\n", one / batch);
    std::printf("four cameras / batch:        %8.2f\n", four / batch);
    std::printf("undo / batch:                %8.2f\n", undo / batch);
    std::printf("peak memory (VmHWM):         %8.1f MB\n", peakResidentKilobytes() / 1024.0);
    const bool complete = changedCount(oneRun) == options.count &&
                          changedCount(fourRun) == options.count &&
                          changedCount(undoRun) == options.count && exact == options.count;
    return complete ? 0 : 1;
}
