// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVPhotoWriter.h"

#include "KVDateTags.h"
#include "KVImageFile.h"
#include "KVPhotoWriterFixture.h"
#include "KVTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace std::chrono_literals;

TEST_F(KVPhotoWriterFixture, ShiftsAllSixTagsExactlyAcrossDaylightSavingKeepingModeAndNothingElse) {
    // Berlin springs forward at 02:00 on 2021-03-28 and falls back at 03:00 on 2021-10-31; the
    // dates are wall-clock text, so neither change may move them by an hour.
    struct Case {
        const char *sample;
        const char *before;
        qint64 seconds;
        const char *after;
    } cases[] = {
        {"cameras/Canon_40D.jpg", "2021:03:28 01:30:00", 3600, "2021:03:28 02:30:00"},
        {"cameras/Nikon_D70.jpg", "2021:10:31 02:30:00", 3600, "2021:10:31 03:30:00"},
        {"cameras/Pentax_K10D.jpg", "2021:10:31 03:10:00", -3600, "2021:10:31 02:10:00"},
        {"raw/CanonRaw.cr2", "2005:08:03 18:59:18", -86400 * 366, "2004:08:02 18:59:18"},
        {"tiff/Arbitro.tiff", "2010:12:31 23:59:59", 1, "2011:01:01 00:00:00"},
    };
    KVPhotoWriter writer(KALVORA_EXIFTOOL);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.sample);
        const QString photo = copyOf(c.sample, QFileInfo(c.sample).fileName());
        setDate(photo, c.before);
        ASSERT_EQ(::chmod(QFile::encodeName(photo).constData(), 0640), 0);
        // Another user's photo, where this user may give it away (root).
        const bool foreignOwner = ::chown(QFile::encodeName(photo).constData(), 4321, 4322) == 0;
        // A desktop's comment on the photo, kept in an extended attribute.
        const QByteArray native = QFile::encodeName(photo);
        const bool hasComment = ::setxattr(native.constData(), "user.xdg.comment", c.sample,
                                           std::strlen(c.sample), 0) == 0;
        const KVPhotoIdentity before = *KVPhotoWriter::identityOf(photo);

        const KVWriteOutcome outcome = writer.shiftDates(before, c.seconds);
        ASSERT_TRUE(outcome.changed()) << outcome.reason.toStdString();
        EXPECT_EQ(outcome.oldDateText, c.before);
        EXPECT_EQ(outcome.newDateText, c.after);
        const std::optional<KVDateTags> tags = KVDateTags::read(photo);
        ASSERT_TRUE(tags);
        for (const QString &text : tags->texts)
            EXPECT_EQ(text, c.after);
        EXPECT_TRUE(decodes(photo));
        EXPECT_EQ(modeOf(photo), 0640u);
        if (foreignOwner) {
            struct stat info {};
            ::stat(QFile::encodeName(photo).constData(), &info);
            EXPECT_EQ(info.st_uid, 4321u);
            EXPECT_EQ(info.st_gid, 4322u);
        }
        if (hasComment) {
            char comment[64] = {};
            EXPECT_EQ(::getxattr(native.constData(), "user.xdg.comment", comment, sizeof comment),
                      ssize_t(std::strlen(c.sample)));
            EXPECT_STREQ(comment, c.sample);
        }
        // A new file took the photo's place, and the outcome names it.
        EXPECT_EQ(outcome.identity.inode, KVPhotoWriter::identityOf(photo)->inode);
        EXPECT_NE(outcome.identity.inode, before.inode);
    }
    EXPECT_EQ(hiddenEntries(), QStringList());
}

TEST_F(KVPhotoWriterFixture, AWriteGoesOnlyToTheFileThatWasAddedNeverThroughALink) {
    KVPhotoWriter writer(KALVORA_EXIFTOOL);
    const QString secret = copyOf("cameras/Nikon_D70.jpg", "secret.jpg");
    const QByteArray secretBytes = KVTest::readFile(secret);

    // Swapped for a link after it was added: the link stays a link, its target unchanged.
    const QString linked = copyOf("cameras/Canon_40D.jpg", "linked.jpg");
    const KVPhotoIdentity added = *KVPhotoWriter::identityOf(linked);
    ASSERT_TRUE(QFile::remove(linked));
    ASSERT_TRUE(QFile::link(secret, linked));
    // Swapped for another plain file (same name, other inode).
    const QString swapped = copyOf("cameras/Canon_40D.jpg", "swapped.jpg");
    const KVPhotoIdentity swappedAdded = *KVPhotoWriter::identityOf(swapped);
    const QString other = copyOf("cameras/Pentax_K10D.jpg", "other.jpg");
    ASSERT_EQ(
        ::rename(QFile::encodeName(other).constData(), QFile::encodeName(swapped).constData()), 0);
    const QByteArray swappedBytes = KVTest::readFile(swapped);

    for (const KVPhotoIdentity &identity : {added, swappedAdded}) {
        const KVWriteOutcome outcome = writer.shiftDates(identity, 60);
        EXPECT_EQ(outcome.status, KVWriteOutcome::Status::NotChanged);
        EXPECT_EQ(outcome.reason, "The file was replaced during syncing.");
    }
    EXPECT_TRUE(QFileInfo(linked).isSymLink());
    EXPECT_EQ(KVTest::readFile(secret), secretBytes);
    EXPECT_EQ(KVTest::readFile(swapped), swappedBytes);
    EXPECT_EQ(hiddenEntries(), QStringList());
}

TEST_F(KVPhotoWriterFixture, LongestNamesAndPathsAreShiftedExactly) {
    // Folders of up to 200 bytes each make a path of 4,000 bytes with a name of 255 bytes that
    // holds the characters a shell would read.
    QString folder = m_dir.path();
    while (folder.toUtf8().size() + 201 <= 4000 - 256)
        folder += "/" + QString(200, QLatin1Char('d'));
    folder += "/" + QString(4000 - 256 - folder.toUtf8().size() - 1, QLatin1Char('e'));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString oddStem = "a $(touch MARKER) `b` \"c\" 'd' ; e\\f\nß";
    const QString name = oddStem + QString(255 - oddStem.toUtf8().size() - 4, 'x') + ".jpg";
    ASSERT_EQ(name.toUtf8().size(), 255);
    const QString photo = folder + "/" + name;
    ASSERT_EQ(KVTest::runProgram("cp", {KVTest::samplePath("cameras/Canon_40D.jpg"), photo}), 0);
    ASSERT_EQ(photo.toUtf8().size(), 4000);
    setDate(photo, "2012:06:30 23:59:30");

    KVPhotoWriter writer(KALVORA_EXIFTOOL);
    const KVWriteOutcome outcome = writer.shiftDates(*KVPhotoWriter::identityOf(photo), 45);
    ASSERT_TRUE(outcome.changed()) << outcome.reason.toStdString();
    EXPECT_TRUE(KVDateTags::read(photo)->allAre("2012:07:01 00:00:15"));
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{name});
    EXPECT_FALSE(QFileInfo::exists(QDir::currentPath() + "/MARKER"));
}

TEST_F(KVPhotoWriterFixture, AnExpectedDateThatIsNotThePhotosLeavesItAlone) {
    KVPhotoWriter writer(KALVORA_EXIFTOOL);
    const QString photo = copyOf("cameras/Canon_40D.jpg", "a.jpg");
    setDate(photo, "2015:01:01 10:00:00");
    const QByteArray bytes = KVTest::readFile(photo);
    const KVWriteOutcome refused = writer.shiftDates(*KVPhotoWriter::identityOf(photo), -60, {},
                                                     QString("2015:01:01 10:01:00"));
    EXPECT_EQ(refused.status, KVWriteOutcome::Status::NotChanged);
    EXPECT_EQ(KVTest::readFile(photo), bytes);

    // The journal's hook sees old and new text before anything changes, and can stop it.
    QString seenOld, seenNew;
    const KVWriteOutcome stopped = writer.shiftDates(
        *KVPhotoWriter::identityOf(photo), 60, [&](const QString &oldText, const QString &newText) {
            seenOld = oldText;
            seenNew = newText;
            return false;
        });
    EXPECT_EQ(stopped.status, KVWriteOutcome::Status::Cancelled);
    EXPECT_EQ(seenOld, "2015:01:01 10:00:00");
    EXPECT_EQ(seenNew, "2015:01:01 10:01:00");
    EXPECT_EQ(KVTest::readFile(photo), bytes);
    EXPECT_EQ(hiddenEntries(), QStringList());
}

TEST_F(KVPhotoWriterFixture, AHungToolIsKilledByCancelAndByTheTimeLimitAndTheRunGoesOn) {
    const QStringList photos = {copyOf("cameras/Canon_40D.jpg", "a.jpg"),
                                copyOf("cameras/Nikon_D70.jpg", "b.jpg")};
    const QByteArray first = KVTest::readFile(photos[0]);
    for (const bool byCancel : {true, false}) {
        SCOPED_TRACE(byCancel ? "cancel" : "time limit");
        clearGates();
        KVPhotoWriter writer(fakeTool("hang-first"));
        writer.setTimeLimit(byCancel ? 600s : 1s, 0ms);
        std::thread canceller;
        if (byCancel) {
            canceller = std::thread([&] {
                // Gated by the tool itself: it marks when it has taken the photo.
                KVTest::waitFor([&] { return gateExists("hanging"); }, 30s);
                writer.cancel();
            });
        }
        const KVWriteOutcome hung = writer.shiftDates(*KVPhotoWriter::identityOf(photos[0]), 60);
        if (canceller.joinable())
            canceller.join();
        EXPECT_EQ(hung.status, byCancel ? KVWriteOutcome::Status::Cancelled
                                        : KVWriteOutcome::Status::NotChanged);
        EXPECT_EQ(KVTest::readFile(photos[0]), first);
        // The tool is gone, with its whole process group.
        const pid_t group = readPid("hanging");
        ASSERT_GT(group, 0);
        EXPECT_TRUE(KVTest::waitFor([&] { return !KVTest::processGroupAlive(group); }, 5s));

        // The next photo gets a fresh tool (after a cancel, once reset). Starting one takes
        // longer than the short limit above on a busy machine, which is not what is tested.
        writer.reset();
        writer.setTimeLimit(600s, 0ms);
        const KVWriteOutcome next = writer.shiftDates(*KVPhotoWriter::identityOf(photos[1]), 60);
        EXPECT_TRUE(next.changed()) << next.reason.toStdString();
    }
    EXPECT_EQ(hiddenEntries(), QStringList());
}

TEST_F(KVPhotoWriterFixture, AToolNeverOutlivesTheThreadThatStartedIt) {
    // The tool's snippet leaves its process id in a gate.
    const QString tool = KVTest::writeFakeTool(m_dir.filePath("tool-pid"),
                                               QString("echo $$ > '%1/pid'").arg(m_dir.path()));
    const QString photo = copyOf("cameras/Canon_40D.jpg", "a.jpg");
    KVPhotoWriter writer(tool);
    std::thread([&] {
        EXPECT_TRUE(writer.shiftDates(*KVPhotoWriter::identityOf(photo), 1).changed());
    }).join();
    const long group = KVTest::readFile(m_dir.filePath("pid")).trimmed().toLong();
    ASSERT_GT(group, 0);
    EXPECT_TRUE(KVTest::waitFor([&] { return !KVTest::processGroupAlive(group); }, 5s));
}

TEST_F(KVPhotoWriterFixture, ACancelBetweenPhotosHoldsUntilResetAndTheNextToolWritesAgain) {
    const QString a = copyOf("cameras/Canon_40D.jpg", "a.jpg");
    const QString b = copyOf("cameras/Nikon_D70.jpg", "b.jpg");
    KVPhotoWriter writer(KALVORA_EXIFTOOL);
    ASSERT_TRUE(writer.shiftDates(*KVPhotoWriter::identityOf(a), 5).changed());
    // The tool is idle when the cancel comes.
    writer.cancel();
    const QByteArray bytes = KVTest::readFile(b);
    EXPECT_EQ(writer.shiftDates(*KVPhotoWriter::identityOf(b), 5).status,
              KVWriteOutcome::Status::Cancelled);
    EXPECT_EQ(KVTest::readFile(b), bytes);
    writer.reset();
    const KVWriteOutcome after = writer.shiftDates(*KVPhotoWriter::identityOf(b), 5);
    EXPECT_TRUE(after.changed()) << after.reason.toStdString();
}

TEST_F(KVPhotoWriterFixture, ARecordFollowsItsReplacedFileSoItsNextWriteIsNotRefused) {
    const QString photo = copyOf("cameras/Canon_40D.jpg", "a.jpg");
    setDate(photo, "2016:05:27 01:59:59");
    const KVImageFileRef record = KVImageFile::initWithURL(QUrl::fromLocalFile(photo));
    ASSERT_TRUE(record);
    KVPhotoWriter writer(KALVORA_EXIFTOOL);
    for (const auto &[seconds, expected] :
         {std::pair{qint64(1), "2016:05:27 02:00:00"}, {qint64(-1), "2016:05:27 01:59:59"}}) {
        const KVWriteOutcome outcome = record->shiftCreationDate(writer, seconds);
        ASSERT_TRUE(outcome.changed()) << outcome.reason.toStdString();
        EXPECT_EQ(record->identity().inode, KVPhotoWriter::identityOf(photo)->inode);
        EXPECT_EQ(record->creationDate().toString("yyyy:MM:dd HH:mm:ss"), expected);
    }
}

// A run saves one photo's new version on a second thread while the tool makes the next one: what
// comes between the two halves (a cancel, a journal that cannot be saved, the photo swapped) must
// leave the photo as it was, and no hidden copy behind.
TEST_F(KVPhotoWriterFixture, BetweenTheTwoHalvesOfAWriteACancelOrAnUnsavedRecordLeavesThePhoto) {
    const QString a = copyOf("cameras/Canon_40D.jpg", "a.jpg");
    const QString b = copyOf("cameras/Nikon_D70.jpg", "b.jpg");
    const QString c = copyOf("cameras/Pentax_K10D.jpg", "c.jpg");
    const QByteArray bytesA = KVTest::readFile(a);
    const QByteArray bytesB = KVTest::readFile(b);
    KVPhotoWriter writer(KALVORA_EXIFTOOL);

    bool asked = false;
    KVPhotoWriter::Pending unsaved =
        writer.begin(*KVPhotoWriter::identityOf(a), 60, {}, std::nullopt, [&] {
            asked = true;
            return false;
        });
    // The second half runs on another thread, while the first half of the next photo goes on.
    KVPhotoWriter::Pending next = writer.begin(*KVPhotoWriter::identityOf(c), 120);
    KVWriteOutcome refused;
    std::thread([&] { refused = writer.finish(std::move(unsaved)); }).join();
    EXPECT_TRUE(asked);
    EXPECT_EQ(refused.status, KVWriteOutcome::Status::NotChanged);
    EXPECT_EQ(KVTest::readFile(a), bytesA);
    const KVWriteOutcome done = writer.finish(std::move(next));
    ASSERT_TRUE(done.changed()) << done.reason.toStdString();
    EXPECT_TRUE(KVDateTags::read(c)->allAre(done.newDateText));

    KVPhotoWriter::Pending cancelled = writer.begin(*KVPhotoWriter::identityOf(b), 60);
    writer.cancel();
    EXPECT_EQ(writer.finish(std::move(cancelled)).status, KVWriteOutcome::Status::Cancelled);
    EXPECT_EQ(KVTest::readFile(b), bytesB);
    writer.reset();

    // The photo swapped for another file while its new version was being made.
    KVPhotoWriter::Pending swapped = writer.begin(*KVPhotoWriter::identityOf(a), 60);
    const QString other = copyOf("cameras/Nikon_D70.jpg", "other.jpg");
    ASSERT_EQ(::rename(QFile::encodeName(other).constData(), QFile::encodeName(a).constData()), 0);
    const KVWriteOutcome replaced = writer.finish(std::move(swapped));
    EXPECT_EQ(replaced.status, KVWriteOutcome::Status::NotChanged);
    EXPECT_EQ(replaced.reason, "The file was replaced during syncing.");
    EXPECT_EQ(KVTest::readFile(a), bytesB);

    // A pending write that is dropped, never finished, takes its hidden copy with it.
    { KVPhotoWriter::Pending dropped = writer.begin(*KVPhotoWriter::identityOf(b), 60); }
    EXPECT_EQ(KVTest::readFile(b), bytesB);
    EXPECT_EQ(hiddenEntries(), QStringList());
}
