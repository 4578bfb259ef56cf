// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVPhotoWriter.h"

#include "KVChildProcess.h"
#include "KVDateTags.h"
#include "KVPhotoWriterFixture.h"
#include "KVTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

const QStringList kDatedSamples = {
    "cameras/Canon_40D.jpg",           "cameras/Olympus_C8080WZ.jpg",
    "cameras/Sony_HDR-HC3.jpg",        "cameras/Fujifilm_FinePix6900ZOOM.jpg",
    "cameras/Ricoh_Caplio_RR330.jpg",  "cameras/Nikon_D70.jpg",
    "cameras/Pentax_K10D.jpg",         "cameras/Samsung_Digimax_i50_MP3.jpg",
    "cameras/Canon_PowerShot_S40.jpg", "cameras/Konica_Minolta_DiMAGE_Z3.jpg"};

struct Photo {
    QString path;
    QByteArray bytes;
    QString date;
};

} // namespace

TEST_F(KVPhotoWriterFixture, OnAFullDiskEveryPhotoIsItsOldBytesOrExactlyShiftedAndNothingIsLeft) {
    const QString disk = mountTmpfs("disk", "2m");
    if (disk.isEmpty())
        GTEST_SKIP() << "mounting a tmpfs needs root";
    m_folder = disk;
    std::vector<Photo> photos;
    for (int i = 0; i < kDatedSamples.size(); ++i) {
        const QString path = copyOf(kDatedSamples[i], QString("p%1.jpg").arg(i));
        setDate(path, QString("2019:05:04 10:%1:00").arg(i, 2, 10, QChar('0')));
        photos.push_back({path, KVTest::readFile(path), QString()});
    }
    // The rest of the disk is filled; then some room is given back, enough for the smaller
    // photos' new versions only.
    const QString filler = disk + "/filler";
    {
        QFile file(filler);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        const QByteArray block(4096, 'f');
        while (file.write(block) == block.size() && file.flush()) {
        }
    }
    const qint64 full = QFileInfo(filler).size();
    KVPhotoWriter writer(KALVORA_EXIFTOOL);
    for (const qint64 given : {qint64(0), qint64(24 * 1024), qint64(64 * 1024)}) {
        SCOPED_TRACE(given);
        ASSERT_EQ(::truncate(QFile::encodeName(filler).constData(), full - given), 0);
        int changed = 0;
        for (Photo &photo : photos) {
            photo.date = KVDateTags::read(photo.path)->captureDateText();
            const KVWriteOutcome outcome =
                writer.shiftDates(*KVPhotoWriter::identityOf(photo.path), 3600);
            expectOldOrExactlyShifted(photo.path, photo.bytes, photo.date, 3600, outcome);
            changed += outcome.changed();
            photo.bytes = KVTest::readFile(photo.path);
        }
        if (given == 0)
            EXPECT_EQ(changed, 0);
        else
            EXPECT_GT(changed, 0);
        EXPECT_EQ(hiddenEntries(), QStringList());
    }
}

TEST_F(KVPhotoWriterFixture, AToolThatDiesMidRunCostsOnlyItsPhotoAndTheRunGoesOn) {
    std::vector<Photo> photos;
    for (int i = 0; i < 20; ++i) {
        const QString path =
            copyOf(kDatedSamples[i % kDatedSamples.size()], QString("%1.jpg").arg(i));
        setDate(path, QString("2020:02:29 23:59:%1").arg(i + 30));
        photos.push_back({path, KVTest::readFile(path), KVDateTags::read(path)->captureDateText()});
    }
    QStringList notChanged;
    {
        // Each tool process kills itself on its seventh photo.
        KVPhotoWriter writer(fakeTool("die-at-7"));
        for (const Photo &photo : photos) {
            const KVWriteOutcome outcome =
                writer.shiftDates(*KVPhotoWriter::identityOf(photo.path), 60);
            expectOldOrExactlyShifted(photo.path, photo.bytes, photo.date, 60, outcome);
            if (!outcome.changed()) {
                notChanged << QFileInfo(photo.path).fileName();
                EXPECT_EQ(outcome.reason, "The tool stopped unexpectedly.");
            }
        }
    }
    EXPECT_EQ(notChanged, QStringList({"6.jpg", "13.jpg"}));
    EXPECT_EQ(hiddenEntries(), QStringList());
}

TEST_F(KVPhotoWriterFixture, ARawFileTheToolRefusesIsNeverTouchedAndAnUndoRestoresTheOthers) {
    KVPhotoWriter writer(KALVORA_EXIFTOOL);
    const QStringList samples = {"cameras/Canon_40D.jpg", "raw/Nikon.nef", "raw/CanonRaw.cr2",
                                 "cameras/Nikon_D70.jpg"};
    std::vector<Photo> photos;
    std::vector<KVWriteOutcome> outcomes;
    for (const QString &sample : samples) {
        const QString path = copyOf(sample, QFileInfo(sample).fileName());
        photos.push_back({path, KVTest::readFile(path), KVDateTags::read(path)->captureDateText()});
        outcomes.push_back(writer.shiftDates(*KVPhotoWriter::identityOf(path), 7200));
    }
    EXPECT_EQ(outcomes[1].status, KVWriteOutcome::Status::NotChanged);
    // The tool's own words, about the photo by its name (not the descriptor it was handed).
    EXPECT_TRUE(outcomes[1].reason.contains("StripByteCounts")) << outcomes[1].reason.toStdString();
    EXPECT_TRUE(outcomes[1].reason.contains("Nikon.nef")) << outcomes[1].reason.toStdString();
    EXPECT_FALSE(outcomes[1].reason.contains("/proc/"));
    // An undo moves back exactly what changed, each from the date it was given.
    for (size_t i = 0; i < photos.size(); ++i) {
        SCOPED_TRACE(photos[i].path.toStdString());
        if (i == 1) {
            EXPECT_FALSE(outcomes[i].changed());
            continue;
        }
        ASSERT_TRUE(outcomes[i].changed()) << outcomes[i].reason.toStdString();
        const KVWriteOutcome undone =
            writer.shiftDates(outcomes[i].identity, -7200, {}, outcomes[i].newDateText);
        EXPECT_TRUE(undone.changed()) << undone.reason.toStdString();
        EXPECT_TRUE(KVDateTags::read(photos[i].path)->allAre(photos[i].date));
    }
    EXPECT_EQ(KVTest::readFile(photos[1].path), photos[1].bytes);
    EXPECT_EQ(hiddenEntries(), QStringList());
}

TEST_F(KVPhotoWriterFixture, TwoRunsInTwoProcessesComeOneAfterTheOtherOrTheSecondRefuses) {
    std::vector<Photo> photos;
    QStringList paths;
    for (int i = 0; i < 6; ++i) {
        const QString path = copyOf(kDatedSamples[i], QString("%1.jpg").arg(i));
        setDate(path, "2018:12:31 23:00:00");
        photos.push_back({path, {}, "2018:12:31 23:00:00"});
        paths << path;
    }
    auto start = [&](qint64 seconds, qint64 waitMs, const QString &gate) {
        auto process = std::make_unique<KVChildProcess>();
        std::vector<std::string> arguments{KALVORA_TEST_SHIFT, std::to_string(seconds),
                                           std::to_string(waitMs), gate.toStdString()};
        for (const QString &path : paths)
            arguments.push_back(QFile::encodeName(path).toStdString());
        EXPECT_TRUE(process->start(arguments));
        return process;
    };
    auto exitCode = [](KVChildProcess &process, std::string *output = nullptr) {
        const std::string text = process.readAll();
        if (output)
            *output = text;
        const int status = process.wait();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };

    // Started together: one waits for the other's whole run, and each sees the other's dates.
    auto first = start(60, 60000, "-");
    auto second = start(3600, 60000, "-");
    EXPECT_EQ(exitCode(*first), 0);
    EXPECT_EQ(exitCode(*second), 0);
    for (const Photo &photo : photos)
        EXPECT_TRUE(KVDateTags::read(photo.path)->allAre("2019:01:01 00:01:00"))
            << photo.path.toStdString();

    // One holds its photos; the other, told not to wait, refuses and names the folder.
    const QString gate = m_dir.filePath("hold");
    QFile(gate).open(QIODevice::WriteOnly);
    auto holder = start(60, 0, gate);
    ASSERT_TRUE(KVTest::waitFor([&] { return QFileInfo::exists(gate + ".held"); }, 30s));
    auto refused = start(60, 0, "-");
    std::string message;
    EXPECT_EQ(exitCode(*refused, &message), 3);
    EXPECT_NE(message.find("Another run is changing the photos in " + m_folder.toStdString()),
              std::string::npos)
        << message;
    QFile::remove(gate);
    EXPECT_EQ(exitCode(*holder), 0);
    for (const Photo &photo : photos)
        EXPECT_TRUE(KVDateTags::read(photo.path)->allAre("2019:01:01 00:02:00"));
    EXPECT_EQ(hiddenEntries(), QStringList());
}

TEST_F(KVPhotoWriterFixture, RoomToWriteCountsOneCopyOfTheLargestPhotoPerWorkerOnEachDisk) {
    const QString disk = mountTmpfs("room", "48m");
    if (disk.isEmpty())
        GTEST_SKIP() << "mounting a tmpfs needs root";
    // Two 5 MiB photos leave 38 MiB: one copy plus the 32 MiB margin fits, two do not.
    QStringList paths;
    for (const QString name : {"a.jpg", "b.jpg"}) {
        QFile file(disk + "/" + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(QByteArray(5 * 1024 * 1024, 'x')), 5 * 1024 * 1024);
        paths << file.fileName();
    }
    const QString elsewhere = copyOf("cameras/Canon_40D.jpg", "small.jpg");
    struct Case {
        QStringList photos;
        int workers;
        bool fits;
    } cases[] = {
        {paths, 1, true},
        {paths, 2, false},
        {{paths[0]}, 4, true}, // never more copies than photos
        {{elsewhere, paths[0], paths[1]}, 8, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.workers);
        const std::optional<QString> problem = KVCheckRoomToWrite(c.photos, c.workers);
        EXPECT_EQ(!problem, c.fits);
        if (problem) {
            EXPECT_TRUE(problem->contains(disk)) << problem->toStdString();
        }
    }
}

TEST_F(KVPhotoWriterFixture, LeftoversAreRemovedUnlessAWriterStillHoldsThem) {
    QDir().mkpath(m_folder);
    const QString stale = m_folder + "/.kalvora-write-Ab3xY9";
    const QString busy = m_folder + "/.kalvora-write-Zz0000";
    const QString foreignName = m_folder + "/.kalvora-write-notours";
    for (const QString &folder : {stale, busy, foreignName}) {
        ASSERT_TRUE(QDir().mkpath(folder));
        QFile file(folder + "/new");
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("half a photo");
    }
    const int held = ::open(QFile::encodeName(busy).constData(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    KVPhotoWriter::removeLeftovers(m_folder);
    EXPECT_FALSE(QFileInfo::exists(stale));
    EXPECT_TRUE(QFileInfo::exists(busy + "/new"));
    EXPECT_TRUE(QFileInfo::exists(foreignName + "/new"));
    ::close(held);
    KVPhotoWriter::removeLeftovers(m_folder);
    EXPECT_FALSE(QFileInfo::exists(busy));
}
