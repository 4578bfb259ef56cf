// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAppDelegate.h"
#include "KVCameraOffsetMemory.h"
#include "KVCameraSets.h"
#include "KVHeadlessUserInterface.h"
#include "KVSuggestedMatches.h"
#include "KVTestSupport.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QString cameraA = QStringLiteral("Oriel OX-5 OX5-204417");
const QString cameraC = QStringLiteral("Tamura T20 T20A0918");

// A demo event of the seed in folder/event; its answers.
QJsonObject makeDemoEvent(const QString &folder, int seed) {
    const QString event = folder + "/event";
    EXPECT_EQ(KVTest::runProgram(KALVORA_DEMO_EVENT, {event, "--seed", QString::number(seed)}), 0);
    return QJsonDocument::fromJson(KVTest::readFile(event + "/.offsets.json")).object();
}

struct Answers {
    QMap<QString, qint64> offsets;  // by camera key
    QMap<QString, QString> moments; // by file name: the true time it was taken
};

Answers answersOf(const QJsonObject &root) {
    Answers answers;
    for (const QJsonValue &camera : root["cameras"].toArray()) {
        answers.offsets[camera["key"].toString()] = camera["offset"].toInteger();
        for (const QJsonValue &photo : camera["photos"].toArray())
            answers.moments[photo["file"].toString()] = photo["moment"].toString();
    }
    return answers;
}

struct Result {
    int status = -1;
    QByteArray output;
};

// kalvora-cli with its standard error thrown away, and its settings in `settings`.
Result cli(const QStringList &arguments, const QString &settings) {
    Result result;
    result.status = KVTest::runProgram("/usr/bin/env",
                                       QStringList{"XDG_CONFIG_HOME=" + settings, "/bin/sh", "-c",
                                                   "exec \"$0\" \"$@\" 2>/dev/null", KALVORA_CLI} +
                                           arguments,
                                       &result.output);
    return result;
}

} // namespace

TEST(KVSuggestedMatches, DemoEventsAreMatchedToTheSecondAndNeverConfidentlyWrong) {
    int cameras = 0, confident = 0;
    for (const int seed : {1, 2, 3, 4}) {
        QTemporaryDir folder;
        const Answers answers = answersOf(makeDemoEvent(folder.path(), seed));
        KVHeadlessUserInterface ui;
        KVCameraSets model(&ui);
        const KVCameraSetsRef files =
            model.addedAndSortedImageFiles({QUrl::fromLocalFile(folder.filePath("event"))}, {})
                .files;
        ASSERT_TRUE(files && files->size() == 4);
        const KVSuggestedMatches suggestion = KVSuggestedMatches::suggest(files, QString());
        EXPECT_EQ(suggestion.referenceKey, cameraA);
        ASSERT_EQ(suggestion.cameras.size(), 3u);
        for (const KVSuggestedMatches::Camera &camera : suggestion.cameras) {
            ++cameras;
            if (!camera.isConfident()) {
                EXPECT_FALSE(camera.referencePhoto || camera.matchPhoto) << seed;
                EXPECT_FALSE(suggestion.matches.count(camera.key)) << seed;
                continue;
            }
            ++confident;
            EXPECT_EQ(qint64(camera.offset), answers.offsets[camera.key])
                << "seed " << seed << ": " << qPrintable(camera.key);
            // The pair shown was taken at one true moment.
            if (camera.referencePhoto) {
                EXPECT_EQ(answers.moments[camera.referencePhoto->name()],
                          answers.moments[camera.matchPhoto->name()])
                    << seed;
            }
        }
        // What gets marked is one reference photo and, on the sure cameras, photos of its moment:
        // a sync from those marks gives each camera its true offset.
        ASSERT_TRUE(suggestion.referencePhoto) << seed;
        for (const auto &[key, match] : suggestion.matches) {
            EXPECT_EQ(answers.moments[match->name()],
                      answers.moments[suggestion.referencePhoto->name()])
                << seed;
            EXPECT_EQ(match->creationDate().secsTo(suggestion.referencePhoto->creationDate()),
                      answers.offsets[key]);
        }
    }
    std::printf("demo events: %d of %d cameras confident, none wrong\n", confident, cameras);
    EXPECT_GE(confident, 11);
}

TEST(KVSuggestedMatches, TheDelegateMarksThemAsClicksWouldInPlaceOfEarlierMarks) {
    QTemporaryDir folder;
    const Answers answers = answersOf(makeDemoEvent(folder.path(), 1));
    // Bodies synced by other tests would be remembered; these start from nothing.
    KVUserDefaults::standardUserDefaults().setObject(QVariant(), KVCameraOffsetMemory::settingsKey);
    KVHeadlessUserInterface ui;
    KVAppDelegate delegate(&ui);
    EXPECT_FALSE(delegate.canSuggestMatches());
    const int reloads = ui.browserReloadCount();
    delegate.cameraSets().openFiles({folder.filePath("event")});
    ASSERT_TRUE(KVTest::waitFor([&] { return ui.browserReloadCount() > reloads; }));
    ASSERT_EQ(delegate.numberOfCamerasInBrowser(), 4);
    ASSERT_TRUE(delegate.canSuggestMatches());

    // Marks made by hand against another reference: the last photo of the first camera, and a
    // photo of the second camera.
    delegate.cameraSets().imagesForCameraWithIndex(0).back()->setImageState(KVImageStateEtalon);
    delegate.cameraSets().imagesForCameraWithIndex(1).back()->setImageState(KVImageStateSelected);
    ASSERT_EQ(delegate.etalon(), delegate.cameraSets().imagesForCameraWithIndex(0).back());

    delegate.suggestMatches();
    const KVSuggestedMatches &suggestion = delegate.matchSuggester().suggestion();
    ASSERT_TRUE(suggestion.referencePhoto);
    EXPECT_EQ(delegate.etalon(), suggestion.referencePhoto);
    const KVReferenceSet marked = delegate.etalonWithSelectedImages();
    EXPECT_EQ(marked.selectedImages, suggestion.matches);
    // Nothing else is marked anywhere, and the offsets a sync would apply are the true ones.
    int marks = 0;
    KVCameraSets::forEachImageFile(delegate.imageFiles(), [&](const KVImageFileRef &file) {
        marks += file->imageState() != KVImageStateNormal ? 1 : 0;
    });
    EXPECT_EQ(marks, 1 + int(suggestion.matches.size()));
    for (const auto &[key, interval] : marked.timeIntervals())
        EXPECT_EQ(qint64(interval), answers.offsets[key]) << qPrintable(key);
    EXPECT_TRUE(delegate.isSynchronizationPossible());

    // Each marked photo is the one its row is asked to show; the headers say what was done.
    std::vector<std::pair<int, int>> expected;
    for (int camera = 0; camera < 4; ++camera) {
        const std::vector<KVImageFileRef> &files =
            delegate.cameraSets().imagesForCameraWithIndex(camera);
        for (int i = 0; i < int(files.size()); ++i) {
            if (files[size_t(i)]->imageState() != KVImageStateNormal)
                expected.emplace_back(camera, i);
        }
        bool isWarning = true;
        const QString note = delegate.noteForCameraWithIndex(camera, &isWarning);
        EXPECT_FALSE(isWarning) << qPrintable(note);
        EXPECT_TRUE(camera == 0 ? note == "Reference" : note.startsWith("Suggested: "))
            << qPrintable(note);
    }
    EXPECT_EQ(ui.shownPhotos(), expected);
    // Photos added later make the notes stale: they go.
    delegate.removeFiles();
    bool isWarning = true;
    EXPECT_EQ(delegate.noteForCameraWithIndex(0, &isWarning), QString());
}

TEST(KVSuggestCommand, PrintsEveryCameraButTheReferenceInTheAgreedShape) {
    QTemporaryDir folder;
    const Answers answers = answersOf(makeDemoEvent(folder.path(), 1));
    const QString event = folder.filePath("event"), settings = folder.filePath("settings");

    const Result result = cli({"suggest", "--json", event}, settings);
    ASSERT_EQ(result.status, 0);
    const QJsonObject root = QJsonDocument::fromJson(result.output).object();
    EXPECT_EQ(root.keys(), (QStringList{"cameras", "reference"}));
    EXPECT_EQ(root["reference"].toString(), cameraA);
    const QJsonArray cameras = root["cameras"].toArray();
    ASSERT_EQ(cameras.size(), 3);
    for (const QJsonValue &value : cameras) {
        const QJsonObject camera = value.toObject();
        EXPECT_EQ(camera.keys(),
                  (QStringList{"confidence", "key", "match_photo", "offset", "reference_photo"}));
        const QString key = camera["key"].toString();
        EXPECT_NE(key, cameraA);
        EXPECT_TRUE(camera["offset"].isDouble());
        const double confidence = camera["confidence"].toDouble(-1);
        EXPECT_TRUE(confidence >= 0 && confidence <= 1) << confidence;
        if (confidence >= 0.8) {
            EXPECT_EQ(camera["offset"].toInteger(), answers.offsets[key]) << qPrintable(key);
            for (const char *photo : {"reference_photo", "match_photo"})
                EXPECT_TRUE(QFileInfo::exists(camera[photo].toString())) << photo;
        }
        for (const char *photo : {"reference_photo", "match_photo"})
            EXPECT_TRUE(camera[photo].isString() || camera[photo].isNull()) << photo;
    }

    // Another reference: the first camera is now one to line up, by the opposite offset.
    const QJsonObject other =
        QJsonDocument::fromJson(
            cli({"suggest", "--json", "--reference-camera", cameraC, event}, settings).output)
            .object();
    EXPECT_EQ(other["reference"].toString(), cameraC);
    for (const QJsonValue &camera : other["cameras"].toArray()) {
        if (camera["key"].toString() == cameraA && camera["confidence"].toDouble() >= 0.8) {
            EXPECT_EQ(camera["offset"].toInteger(), -answers.offsets[cameraC]);
        }
    }
    for (const QStringList &usage : {QStringList{"suggest"},
                                     {"suggest", "--reference-camera", "Nobody", event},
                                     {"suggest", "--reference-camera"},
                                     {"sync", "--suggested", "--match", event, event}})
        EXPECT_EQ(cli(usage, settings).status, 2) << qPrintable(usage.join(' '));
}

TEST(KVSuggestCommand, SyncSuggestedShiftsTheSureCamerasAndTheirOffsetsAreRememberedNextTime) {
    QTemporaryDir folder;
    const Answers answers = answersOf(makeDemoEvent(folder.path(), 2));
    const QString event = folder.filePath("event"), settings = folder.filePath("settings");

    const QJsonObject before =
        QJsonDocument::fromJson(cli({"suggest", "--json", event}, settings).output).object();
    QStringList sure;
    for (const QJsonValue &camera : before["cameras"].toArray()) {
        if (camera["confidence"].toDouble() >= 0.8)
            sure << camera["key"].toString();
    }
    ASSERT_FALSE(sure.isEmpty());

    const Result run = cli({"sync", "--suggested", event}, settings);
    EXPECT_EQ(run.status, 0) << run.output.constData();
    EXPECT_TRUE(run.output.contains("cameras sure enough to sync by the offsets above"));
    EXPECT_TRUE(run.output.contains("Your photos have been synced\nsuccessfully!"));

    // The sure cameras now tell the reference's time: nothing is left to shift.
    const QJsonObject after =
        QJsonDocument::fromJson(cli({"suggest", "--json", event}, settings).output).object();
    for (const QJsonValue &camera : after["cameras"].toArray()) {
        if (sure.contains(camera["key"].toString())) {
            EXPECT_EQ(camera["offset"].toInteger(), 0) << qPrintable(camera["key"].toString());
        }
    }

    // The same bodies at a new event: the search starts from what their clocks were off by.
    QTemporaryDir again;
    makeDemoEvent(again.path(), 5);
    const Result next = cli({"suggest", again.filePath("event")}, settings);
    EXPECT_TRUE(next.output.contains("started from its remembered offset; drift +0 s"))
        << next.output.constData();
    EXPECT_TRUE(
        next.output.contains(QStringLiteral("%1 s").arg(answers.offsets[sure.front()]).toUtf8()));
}
