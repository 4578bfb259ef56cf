// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFileName.h"
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

// A Latin-1 name from an old card is kept as its bytes from the walk to the tool and back: the
// photo is shifted and undone exactly, and named by its bytes on a command line too.
TEST(KVCommandLine, ANameThatIsNotUtf8IsShiftedAndUndoneByItsBytes) {
    QTemporaryDir folder;
    const QStringList copies = KVTest::makeDatedPhotos(folder.path(), 2);
    const QByteArray latin1 = QFile::encodeName(folder.path()) + "/Hochzeit_\xe4.jpg";
    const auto cleanUp = qScopeGuard([&] { ::unlink(latin1); });
    ASSERT_EQ(::rename(QFile::encodeName(copies[1]), latin1), 0);
    const QString photo = KVFileName::decode(latin1);
    const auto before = KVTest::dateTags({copies[0], photo});
    ASSERT_EQ(before[photo], QStringList(3, "2024:06:01 12:01:00"));

    const Result shift = cli({"shift", "--seconds", "60", "--json", folder.path()});
    EXPECT_EQ(shift.status, 0) << shift.output.toStdString();
    const QJsonObject root = QJsonDocument::fromJson(shift.output).object();
    EXPECT_TRUE(root["refused"].toArray().isEmpty()) << shift.output.toStdString();
    // JSON keeps the byte as an escaped lone surrogate, which decodes to the same bytes.
    QList<QByteArray> changed;
    for (const QJsonValue &entry : root["changed"].toArray())
        changed << KVFileName::encode(entry["path"].toString());
    EXPECT_TRUE(changed.contains(latin1)) << shift.output.toStdString();
    EXPECT_EQ(KVTest::dateTags({copies[0], photo}), KVTest::shiftedDateTags(before, 60));

    // Named by its bytes, as a shell passes a name it cannot show; the text shows U+FFFD.
    QByteArray listed;
    const QString line =
        QString("LANGUAGE= LC_ALL=C.UTF-8 LANG=C.UTF-8 exec \"$0\" list \"$(printf "
                "'%s/Hochzeit_\\344.jpg' \"$1\")\" 2>/dev/null");
    ASSERT_EQ(KVTest::runProgram("/bin/sh", {"-c", line, KALVORA_CLI, folder.path()}, &listed), 0);
    EXPECT_TRUE(QString::fromUtf8(listed).contains(QStringLiteral("Hochzeit_\uFFFD.jpg")))
        << listed.toStdString();
    EXPECT_FALSE(listed.contains("p00.jpg")) << listed.toStdString();

    const Result undo = cli({"undo", "--json"});
    EXPECT_EQ(undo.status, 0) << undo.output.toStdString();
    EXPECT_EQ(KVTest::dateTags({copies[0], photo}), before);
}
