// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDemoEvent.h"
#include "KVDemoPhotoWriter.h"
#include "KVDemoPicture.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonObject>

#include <exiv2/exiv2.hpp>

#include <cstdio>

namespace {

// Hidden, so that adding the event folder takes the photos and leaves the answers alone.
const QString offsetsFileName = QStringLiteral(".offsets.json");

void fail(const QString &message) {
    std::fprintf(stderr, "kalvora-demo-event: %s\n", qPrintable(message));
}

// With --force the photos of an earlier event are removed first, so that the folder holds one
// event only; nothing but the files its offsets.json names is touched.
void removeEarlierEvent(QDir folder) {
    QFile offsets(folder.filePath(offsetsFileName));
    if (!offsets.open(QIODevice::ReadOnly))
        return;
    const QJsonObject root = QJsonDocument::fromJson(offsets.readAll()).object();
    for (const QJsonValue &camera : root[QStringLiteral("cameras")].toArray()) {
        for (const QJsonValue &photo : camera[QStringLiteral("photos")].toArray()) {
            const QString name = photo[QStringLiteral("file")].toString();
            if (!name.isEmpty() && QFileInfo(name).fileName() == name &&
                name != QLatin1String("..") && name != QLatin1String("."))
                folder.remove(name);
        }
    }
}

bool prepareFolder(const QString &path, bool force) {
    const QFileInfo info(path);
    if (info.exists() && !info.isDir()) {
        fail(QStringLiteral("%1 is not a folder").arg(path));
        return false;
    }
    QDir folder(path);
    if (info.exists() && !folder.isEmpty()) {
        if (!force) {
            fail(QStringLiteral("%1 is not empty (--force writes into it anyway)").arg(path));
            return false;
        }
        removeEarlierEvent(folder);
    }
    if (!QDir().mkpath(path)) {
        fail(QStringLiteral("cannot create %1").arg(path));
        return false;
    }
    return true;
}

bool writeEvent(const KVDemoEvent &event, const QDir &folder) {
    for (const KVDemoEvent::Shot &shot : event.shots()) {
        const KVDemoEvent::Camera &camera = event.cameras()[size_t(shot.camera)];
        QString error;
        if (!KVDemoPhotoWriter::write(
                folder.filePath(shot.fileName), KVDemoPicture::draw(event, shot),
                {camera.make, camera.model, camera.serialNumber}, event.cameraTime(shot), &error)) {
            fail(error);
            return false;
        }
    }
    QFile offsets(folder.filePath(offsetsFileName));
    const QByteArray json = event.offsets().toJson(QJsonDocument::Indented);
    if (!offsets.open(QIODevice::WriteOnly) || offsets.write(json) != json.size()) {
        fail(QStringLiteral("cannot write %1: %2").arg(offsets.fileName(), offsets.errorString()));
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv) {
    // Pictures are painted into images, never shown: no display is needed, even in a session
    // that has one.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Writes a made-up event of JPEG photos shot by four cameras whose clocks disagree, and "
        ".offsets.json, which tells each camera's clock error and the true moment of each photo."));
    parser.addPositionalArgument(QStringLiteral("folder"), QStringLiteral("Where to write."));
    const QCommandLineOption seedOption(QStringLiteral("seed"),
                                        QStringLiteral("Chooses the event (default 1)."),
                                        QStringLiteral("N"), QStringLiteral("1"));
    const QCommandLineOption forceOption(QStringLiteral("force"),
                                         QStringLiteral("Writes into a folder that is not empty."));
    parser.addOption(seedOption);
    parser.addOption(forceOption);
    parser.addHelpOption();
    bool isSeedValid = false;
    const bool isParsed = parser.parse(QCoreApplication::arguments());
    const quint32 seed = parser.value(seedOption).toUInt(&isSeedValid);
    if (parser.isSet(QStringLiteral("help"))) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    if (!isParsed || !isSeedValid || parser.positionalArguments().size() != 1 ||
        parser.positionalArguments().front().isEmpty()) {
        if (!isParsed)
            fail(parser.errorText());
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }

    const QString path =
        QDir::cleanPath(QFileInfo(parser.positionalArguments().front()).absoluteFilePath());
    if (!prepareFolder(path, parser.isSet(forceOption)))
        return 1;
    const KVDemoEvent event(seed);
    if (!writeEvent(event, QDir(path)))
        return 1;
    std::printf(
        "kalvora-demo-event: %d photos of %d cameras, seed %u, in %s (clock errors in %s)\n",
        int(event.shots().size()), int(event.cameras().size()), seed, qPrintable(path),
        qPrintable(offsetsFileName));
    return 0;
}
