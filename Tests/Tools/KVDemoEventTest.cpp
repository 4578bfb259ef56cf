// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraSets.h"
#include "KVHeadlessUserInterface.h"
#include "KVTestSupport.h"
#include "KVWallClock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

int runDemo(const QStringList &arguments) {
    return KVTest::runProgram(QStringLiteral(KALVORA_DEMO_EVENT), arguments);
}

QJsonObject offsets(const QString &folder) {
    return QJsonDocument::fromJson(KVTest::readFile(folder + "/.offsets.json")).object();
}

QStringList photoNames(const QString &folder) {
    return QDir(folder).entryList({"*.JPG"}, QDir::Files, QDir::Name);
}

} // namespace

TEST(KVDemoEvent, ModelReadsEveryCameraAndEachSceneIsOneMomentMinusTheClockErrors) {
    QTemporaryDir folder;
    const QString event = folder.filePath("event");
    ASSERT_EQ(runDemo({event, "--seed", "7"}), 0);
    KVHeadlessUserInterface ui;
    KVCameraSets model(&ui);
    const KVModelResult result = model.addedAndSortedImageFiles({QUrl::fromLocalFile(event)}, {});
    // Every photo is taken, and the hidden list of answers is passed over without a complaint.
    EXPECT_TRUE(result.notAddedFiles.isEmpty());
    ASSERT_TRUE(result.files && result.files->size() == 4);

    const QJsonObject root = offsets(event);
    EXPECT_EQ(root["reference"].toString(), "Oriel OX-5 OX5-204417");
    QMap<QString, qint64> clockErrors;
    for (const QJsonValue &camera : root["cameras"].toArray()) {
        const QString key = camera["key"].toString();
        const qint64 clockError = clockErrors[key] = camera["clockError"].toInteger();
        EXPECT_EQ(camera["offset"].toInteger(), -clockError);
        ASSERT_TRUE(result.files->count(key)) << qPrintable(key);
        const std::vector<KVImageFileRef> &files = result.files->at(key);
        EXPECT_TRUE(files.size() >= 30 && files.size() <= 80) << files.size();
        const QJsonArray photos = camera["photos"].toArray();
        ASSERT_EQ(qsizetype(files.size()), photos.size());
        // Both lists run by time: the n-th record is the n-th listed photo.
        for (size_t i = 0; i < files.size(); ++i) {
            const QJsonValue photo = photos[qsizetype(i)];
            EXPECT_EQ(files[i]->name(), photo["file"].toString());
            EXPECT_EQ(files[i]->creationDate().addSecs(-clockError),
                      KVWallClock::fromExifText(photo["moment"].toString()))
                << qPrintable(files[i]->name());
            // The file's time is the instant the local clock showed the capture time.
            EXPECT_EQ(QFileInfo(files[i]->path()).lastModified(),
                      KVWallClock::localInstant(files[i]->creationDate()));
        }
        // The embedded thumbnail is what the model shows, not a reduction of the picture.
        EXPECT_EQ(files.front()->thumbnailData().size(), QSize(160, 107));
    }
    EXPECT_EQ(clockErrors.keys(), (QStringList{"Oriel OX-5 OX5-204417", "Oriel OX-5 OX5-318862",
                                               "Tamura T20 T20A0918", "Velmont Velmont Pix 3"}));
    const QList<qint64> errors = clockErrors.values();
    EXPECT_EQ(QSet<qint64>(errors.begin(), errors.end()).size(), 4);
    EXPECT_TRUE(errors.contains(0));

    ASSERT_GE(root["scenes"].toArray().size(), 8);
    int scenesOfEveryCamera = 0;
    for (const QJsonValue &scene : root["scenes"].toArray()) {
        const QDateTime moment = KVWallClock::fromExifText(scene["moment"].toString());
        const QJsonObject photos = scene["photos"].toObject();
        EXPECT_GE(photos.size(), 3) << qPrintable(scene["name"].toString());
        scenesOfEveryCamera += photos.size() == clockErrors.size();
        for (auto it = photos.begin(); it != photos.end(); ++it) {
            ASSERT_TRUE(clockErrors.contains(it.key()));
            const KVImageFileRef file =
                KVImageFile::initWithURL(QUrl::fromLocalFile(event + '/' + it.value().toString()));
            ASSERT_TRUE(file) << qPrintable(it.value().toString());
            EXPECT_EQ(file->fullCameraName(), it.key());
            EXPECT_EQ(file->creationDate().addSecs(-clockErrors[it.key()]), moment);
        }
    }
    EXPECT_GE(scenesOfEveryCamera, 1);
}

TEST(KVDemoEvent, SameSeedWritesTheSameFilesAndFullFoldersNeedForce) {
    QTemporaryDir folder;
    const QString first = folder.filePath("first"), again = folder.filePath("again");
    ASSERT_EQ(runDemo({first, "--seed=7"}), 0);
    ASSERT_EQ(runDemo({again, "--seed", "7"}), 0);
    const QStringList names = photoNames(first);
    ASSERT_EQ(names, photoNames(again));
    for (const QString &name : names + QStringList{".offsets.json"})
        EXPECT_EQ(KVTest::readFile(first + '/' + name), KVTest::readFile(again + '/' + name))
            << qPrintable(name);

    // Not over an event already there, unless forced; then the new event replaces the old one
    // and leaves other files alone.
    const QString note = again + "/notes.txt";
    ASSERT_TRUE(QFile(note).open(QIODevice::WriteOnly));
    EXPECT_EQ(runDemo({again, "--seed", "8"}), 1);
    EXPECT_EQ(offsets(again), offsets(first));
    ASSERT_EQ(runDemo({again, "--seed", "8", "--force"}), 0);
    const QJsonObject root = offsets(again);
    EXPECT_EQ(root["seed"].toInteger(), 8);
    qsizetype listed = 0;
    for (const QJsonValue &camera : root["cameras"].toArray())
        listed += camera["photos"].toArray().size();
    EXPECT_EQ(photoNames(again).size(), listed);
    EXPECT_NE(photoNames(again), names);
    EXPECT_TRUE(QFile::exists(note));

    EXPECT_EQ(runDemo({}), 2);
    EXPECT_EQ(runDemo({folder.filePath("x"), "--seed", "seven"}), 2);
    EXPECT_EQ(runDemo({note}), 1);
}
