// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTestExif.h"
#include "KVTestSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QFile>
#include <QJsonObject>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

namespace {

const QString dateKey = QStringLiteral("Exif.Photo.DateTimeOriginal");

struct Result {
    int status = -1;
    QByteArray output;
};

// Runs kalvora-cli with its standard error thrown away, in the given language ("C" is the
// untranslated English).
Result cli(const QStringList &arguments, const char *language = "C") {
    const QString line = QString("LANGUAGE= LC_ALL=%1 LANG=%1 exec \"$0\" \"$@\" 2>/dev/null")
                             .arg(QLatin1String(language));
    Result result;
    result.status = KVTest::runProgram("/bin/sh", QStringList{"-c", line, KALVORA_CLI} + arguments,
                                       &result.output);
    return result;
}

} // namespace

TEST(KVCommandLine, ListPrintsCamerasInOrderWithPhotosAndRefusals) {
    QTemporaryDir folder;
    KVTest::copySamples(
        {"cameras/Canon_40D.jpg", "cameras/Nikon_D70.jpg", "cameras/PaintTool_sample.jpg"},
        folder.path());
    const Result result = cli({"list", "--json", folder.path()});
    ASSERT_EQ(result.status, 0);
    const QJsonObject root = QJsonDocument::fromJson(result.output).object();
    const QJsonArray cameras = root["cameras"].toArray();
    ASSERT_EQ(cameras.size(), 2);
    EXPECT_EQ(cameras[0]["key"].toString(), "Canon Canon EOS 40D");
    EXPECT_EQ(cameras[0]["name"].toString(), "Canon EOS 40D");
    EXPECT_EQ(cameras[0]["toolTip"].toString(), "Canon EOS 40D\nCanon");
    EXPECT_EQ(cameras[0]["photos"][0]["date"].toString(), "2008:05:30 15:56:01");
    EXPECT_EQ(cameras[1]["key"].toString(), "NIKON CORPORATION NIKON D70");
    const QJsonArray refused = root["refused"].toArray();
    ASSERT_EQ(refused.size(), 1);
    EXPECT_EQ(refused[0]["name"].toString(), "PaintTool_sample.jpg");
    EXPECT_EQ(refused[0]["error"].toString(), "No EXIF date and camera found.");
    for (const QStringList &usage :
         {QStringList{"list"}, {"list", "--bogus", folder.path()}, {"frobnicate"}})
        EXPECT_EQ(cli(usage).status, 2) << qPrintable(usage.join(' '));
}

TEST(KVCommandLine, SpeaksTheUsersLanguageRefusalReasonsIncluded) {
    QTemporaryDir folder;
    KVTest::copySamples({"cameras/Canon_40D.jpg", "cameras/PaintTool_sample.jpg"}, folder.path());
    const Result german = cli({"list", folder.path()}, "de_DE.UTF-8");
    ASSERT_EQ(german.status, 0);
    const QString text = QString::fromUtf8(german.output);
    EXPECT_TRUE(text.contains("Kein EXIF-Datum und keine Kamera gefunden.")) << qPrintable(text);
    EXPECT_TRUE(text.contains("abgelehnt: 1")) << qPrintable(text);
    EXPECT_TRUE(text.contains("Fotos: 1, 2008:05:30 15:56:01 bis 2008:05:30 15:56:01"))
        << qPrintable(text);
    const QString english = QString::fromUtf8(cli({"list", folder.path()}).output);
    EXPECT_TRUE(english.contains("No EXIF date and camera found.")) << qPrintable(english);
    EXPECT_TRUE(english.contains("refused: 1")) << qPrintable(english);
}

TEST(KVCommandLine, SyncMarksLikeClicksPrintsTheOffsetsAndShiftsTheMatchedCamera) {
    QTemporaryDir folder;
    const QStringList copies =
        KVTest::copySamples({"cameras/Canon_40D.jpg", "cameras/Nikon_D70.jpg"}, folder.path());
    const QString reference = copies[0], match = copies[1];
    ASSERT_TRUE(KVTest::writeExif(reference, {{dateKey, "2024:06:01 12:00:00"}}));
    ASSERT_TRUE(KVTest::writeExif(match, {{dateKey, "2024:06:01 11:58:30"}}));

    const QStringList sync = {"sync", "--reference", reference, "--match", match, folder.path()};
    const Result dry = cli(sync + QStringList{"--dry-run", "--json"});
    ASSERT_EQ(dry.status, 0);
    const QJsonArray intervals = QJsonDocument::fromJson(dry.output)["intervals"].toArray();
    ASSERT_EQ(intervals.size(), 1);
    EXPECT_EQ(intervals[0]["seconds"].toDouble(), 90.0);
    EXPECT_EQ(KVTest::readExif(match, dateKey), "2024:06:01 11:58:30");

    const Result run = cli(sync);
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.output.contains("Your photos have been synced\nsuccessfully!"));
    EXPECT_EQ(KVTest::readExif(match, dateKey), "2024:06:01 12:00:00");
    EXPECT_EQ(KVTest::readExif(reference, dateKey), "2024:06:01 12:00:00");

    // Already in step: nothing to do, and said so.
    EXPECT_TRUE(cli(sync).output.contains("Selected images have already synchronized"));

    // A base time by hand moves every matched camera to it.
    const QString base = "2024:06:01 13:00:00", dir = folder.path();
    EXPECT_EQ(cli({"sync", "--base", base, "--match", match, dir}).status, 0);
    EXPECT_EQ(KVTest::readExif(match, dateKey), "2024:06:01 13:00:00");

    // Usage errors: both kinds of reference, no match, a match on the reference's camera.
    for (const QStringList &usage :
         {QStringList{"sync", "--reference", reference, "--base", base, "--match", match, dir},
          {"sync", "--reference", reference, dir},
          {"sync", "--reference", reference, "--match", reference, dir},
          {"sync", "--base", "yesterday", "--match", match, dir}})
        EXPECT_EQ(cli(usage).status, 2) << qPrintable(usage.join(' '));
}

// A Latin-1 name from an old card is listed among the refused files by a shift of its folder,
// and its photo is left byte for byte as it was while the others are shifted.
TEST(KVCommandLine, AShiftReportsANameThatIsNotUtf8AndLeavesItsPhotoAlone) {
    QTemporaryDir folder;
    const QStringList copies =
        KVTest::copySamples({"cameras/Canon_40D.jpg", "cameras/Nikon_D70.jpg"}, folder.path());
    const QByteArray latin1 = QFile::encodeName(folder.path()) + "/Hochzeit_\xe4.jpg";
    const auto cleanUp = qScopeGuard([&] { ::unlink(latin1); });
    const QByteArray original = KVTest::readFile(copies[1]);
    ASSERT_EQ(::rename(QFile::encodeName(copies[1]), latin1), 0);

    const Result result = cli({"shift", "--seconds", "60", "--json", folder.path()});
    EXPECT_EQ(result.status, 0);
    const QJsonObject root = QJsonDocument::fromJson(result.output).object();
    const QJsonArray refused = root["refused"].toArray();
    ASSERT_EQ(refused.size(), 1) << result.output.toStdString();
    EXPECT_EQ(refused[0]["name"].toString(), QStringLiteral("Hochzeit_\uFFFD.jpg"));
    EXPECT_EQ(refused[0]["error"].toString(),
              "The file name is not valid UTF-8. Rename the file to add it.");
    EXPECT_EQ(KVTest::readExif(copies[0], dateKey), "2008:05:30 15:57:01");

    std::ifstream stream(latin1.constData(), std::ios::binary);
    const std::string after((std::istreambuf_iterator<char>(stream)), {});
    EXPECT_TRUE(after == original.toStdString());
}
