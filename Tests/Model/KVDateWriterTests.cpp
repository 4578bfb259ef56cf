// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDateWriter.h"

#include "KVChildProcess.h"
#include "KVImageFile.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr qint64 kSecondsFrom1904To1970 = 2082844800;
const char kDateText[] = "2014:03:07 08:05:09";
const QString kUuid = "[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}-";
using Stamp = std::pair<time_t, long>;

// 2014-03-07 08:05:09 in Berlin (CET, one hour ahead of UTC).
const QDateTime kMarchSeventh(QDate(2014, 3, 7), QTime(7, 5, 9), Qt::UTC);

// Everything written to standard error (the descriptor, so C and Qt writers alike) while alive.
struct StderrCapture {
    StderrCapture() { ::dup2(::fileno(file), STDERR_FILENO); }
    ~StderrCapture() { finish(); }
    QByteArray finish() {
        if (file) {
            std::fflush(stderr);
            ::dup2(saved, STDERR_FILENO);
            ::close(saved);
            std::rewind(file);
            char chunk[4096];
            for (size_t got; (got = std::fread(chunk, 1, sizeof chunk, file)) > 0;)
                text.append(chunk, static_cast<qsizetype>(got));
            std::fclose(std::exchange(file, nullptr));
        }
        return text;
    }
    std::FILE *file = std::tmpfile();
    int saved = (std::fflush(stderr), ::dup(STDERR_FILENO));
    QByteArray text;
};

struct stat statOf(const QString &path) {
    struct stat info {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info;
}
Stamp modificationTime(const QString &path) {
    return {statOf(path).st_mtim.tv_sec, statOf(path).st_mtim.tv_nsec};
}

void setModificationTime(const QString &path, time_t seconds, long nanoseconds = 0) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
}

QString exiftool(const QStringList &arguments) {
    QByteArray output;
    KVTest::runProgram(QStringLiteral(KALVORA_EXIFTOOL), arguments, &output);
    return QString::fromUtf8(output).trimmed();
}
QString dateOnDisk(const QString &path) {
    return exiftool({"-s3", "-DateTimeOriginal", path});
}

KVImageFileRef recordOf(const QString &path) {
    return KVImageFile::initWithURL(QUrl::fromLocalFile(path));
}

// The whole write of a record, standard error captured into *echoed; true when it answered
// `expected` (the flag starts at the other value, so an untouched flag fails).
bool writeAnswers(const KVImageFileRef &file, bool expected, QByteArray *echoed = nullptr,
                  const QDateTime &date = kMarchSeventh) {
    EXPECT_TRUE(file);
    StderrCapture capture;
    if (!file)
        return false;
    bool succeeded = !expected;
    file->setCreationDate(date, &succeeded);
    if (echoed)
        *echoed = capture.finish();
    return succeeded == expected;
}

class KVDateWriterTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QDir().mkpath(m_runtime));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime));
        QDir::setCurrent(m_dir.path()); // where a command that escaped its quotes leaves MARKER
        KVSetToolPath(KALVORA_EXIFTOOL);
    }

    void TearDown() override {
        QDir::setCurrent(m_oldCurrent);
        qputenv("XDG_RUNTIME_DIR", m_oldRuntime);
        KVSetToolPath(KALVORA_EXIFTOOL);
    }

    QString photo(const QString &name, const QString &sample = "cameras/Canon_40D.jpg") {
        const QString target = m_dir.filePath("photos/" + name);
        QDir().mkpath(QFileInfo(target).path());
        QFile::remove(target);
        QFile::copy(KVTest::samplePath(sample), target);
        QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner);
        return target;
    }

    // A stand-in for the tool: a shell script that sees the arguments the real one would.
    QByteArray fakeTool(const QString &name, const QByteArray &body, bool use = false) {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\nfor a; do last=$a; done\n" + body + "\n");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        if (use)
            KVSetToolPath(QFile::encodeName(path).constData());
        return QFile::encodeName(path);
    }

    QString temporaryFolder() const { return m_runtime + "/org.kalvora.Kalvora"; }
    QStringList leftoverCopies() const { return QDir(temporaryFolder()).entryList(QDir::Files); }
    bool markerExists() const { return QFileInfo::exists(m_dir.filePath("MARKER")); }

    QTemporaryDir m_dir;
    const QString m_runtime = m_dir.filePath("runtime");
    const QByteArray m_oldRuntime = qgetenv("XDG_RUNTIME_DIR");
    const QString m_oldCurrent = QDir::currentPath();
};

} // namespace

// What the escaping makes of odd names is shown by the writes below; here, its bounds.
TEST(KVDateWriter, EscapeQuotesNeverOverruns) {
    // Six bytes of text and the terminator fill seven of the eight bytes.
    char buffer[8];
    std::memset(buffer, 'Z', sizeof buffer);
    EXPECT_TRUE(KVEscapeQuotes("ab\"cd", buffer, 7));
    EXPECT_EQ(QByteArray(buffer, 8), QByteArray("ab\\\"cd\0Z", 8));
    std::memset(buffer, 'Z', sizeof buffer);
    EXPECT_FALSE(KVEscapeQuotes("ab\"cde", buffer, 7));
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(QByteArray(buffer + 6, 2), "ZZ");
}

TEST(KVDateWriter, SplitsLikeTheShellQuotesWithoutExpanding) {
    using Words = std::vector<std::string>;
    const std::pair<std::string, Words> cases[] = {
        // Inside double quotes a backslash escapes only $ ` " \ and newline.
        {R"("a\$b" "a\`b" "a\"b" "a\\b" "a\b" "a\'b")",
         {"a$b", "a`b", "a\"b", "a\\b", "a\\b", "a\\'b"}},
        // Nothing is substituted: these reach the program as they are.
        {"x \"$(touch MARKER)\" \"`touch MARKER`\" \"a;b|c&d\" \"$HOME\"",
         {"x", "$(touch MARKER)", "`touch MARKER`", "a;b|c&d", "$HOME"}},
        {"x a\\ b a\\;b \\\n y ab#c", {"x", "a b", "a;b", "y", "ab#c"}}};
    for (const auto &[line, words] : cases) {
        SCOPED_TRACE(line);
        EXPECT_EQ(KVChildProcess::splitArguments(line), words);
    }
    // Lines that need a real shell are not started at all.
    // clang-format off
    const std::string refused[] = {"", "x; touch MARKER", "x | y", "x > out", "x $(touch MARKER)",
        "x `touch MARKER`", "x $HOME", "x *.jpg", "x ~/file", "x\ny", "\"unterminated",
        "x trailing\\", "VAR=1 x", std::string("x \"a\0b\"", 7)};
    // clang-format on
    for (const std::string &line : refused) {
        SCOPED_TRACE(line);
        EXPECT_EQ(KVChildProcess::splitArguments(line), std::nullopt);
    }
}

TEST_F(KVDateWriterTest, ComposesTheCommandLineByteForByteWithLocalTimeOnAPrivateCopy) {
    const QByteArray tool = fakeTool("print", "for a; do printf '[%s]\\n' \"$a\"; done", true);
    QByteArray echoed;
    EXPECT_TRUE(writeAnswers(recordOf(photo("Say \"cheese\" it's me.jpg")), true, &echoed));
    // The tool ran on the private copy, named by a fresh upper-case UUID and the file name.
    const QRegularExpressionMatch match =
        QRegularExpression("\\[(" + QRegularExpression::escape(temporaryFolder()) + "/" + kUuid +
                           "Say \"cheese\" it's me\\.jpg)\\]\n")
            .match(QString::fromUtf8(echoed));
    ASSERT_TRUE(match.hasMatch()) << echoed.constData();
    const QByteArray copy = QFile::encodeName(match.captured(1));
    QByteArray command = "\"" + tool + "\"";
    QByteArray output;
    for (const char *tag : {"-EXIF:ModifyDate", "-EXIF:DateTimeOriginal", "-EXIF:CreateDate",
                            "-XMP:DateTimeOriginal", "-XMP:CreateDate", "-XMP:DateTimeDigitized"}) {
        command += " " + QByteArray(tag) + "='2014:03:07 08:05:09'";
        output += "[" + QByteArray(tag) + "=2014:03:07 08:05:09]\n";
    }
    command += " -overwrite_original_in_place \"" + QByteArray(copy).replace("\"", "\\\"") + "\"";
    output += "[-overwrite_original_in_place]\n[" + copy + "]\n";
    EXPECT_TRUE(echoed.contains(command + '\r' + output + '\n')) << echoed.constData();
}

TEST_F(KVDateWriterTest, OddNamesAreWrittenOrRefusedWithoutTouchingAnotherFileOrRunningAnything) {
    // Only double quotes are escaped: the refused names, read back, would designate other files
    // (`misread`, what sh would make of the name: a decoy is planted there; "" when none is).
    // clang-format off
    const struct { const char *name; bool written; const char *misread; } cases[] = {
        {"$(touch MARKER).jpg", true, ""}, {"`touch MARKER`.jpg", true, ""},
        {"a\";touch MARKER;\".jpg", true, ""}, {"it's me'; touch MARKER; '.jpg", true, ""},
        {"new\nline.jpg", true, ""}, {"Ümlaut 日本語.jpg", true, ""}, {"-dash.jpg", true, ""},
        {"a\\$b.jpg", false, "a$b.jpg"}, {"a\\`b.jpg", false, "a`b.jpg"},
        {"a\\\\b.jpg", false, "a\\b.jpg"}, {"a\\\nb.jpg", false, "ab.jpg"},
        {"a\\\"; touch MARKER; \".jpg", false, ""}};
    // clang-format on
    for (const auto &[name, written, misread] : cases) {
        SCOPED_TRACE(name);
        const QString path = photo(QString::fromUtf8(name));
        const QString decoy = *misread ? photo(misread, "cameras/Nikon_D70.jpg") : "";
        const QByteArray before = KVTest::readFile(path), decoyBefore = KVTest::readFile(decoy);
        const KVImageFileRef file = recordOf(path);
        EXPECT_TRUE(writeAnswers(file, written));
        EXPECT_EQ(dateOnDisk(path) == kDateText, written);
        EXPECT_TRUE(written ? file->creationDate() == kMarchSeventh
                            : KVTest::readFile(path) == before);
        EXPECT_EQ(KVTest::readFile(decoy), decoyBefore);
        EXPECT_FALSE(markerExists());
        QFile::remove(decoy);
    }
}

TEST_F(KVDateWriterTest, AFailingToolLeavesThePhotoAloneAndKeepsTheCopy) {
    fakeTool("fail", "exit 1", true);
    const QString path = photo("Wedding 042.jpg");
    setModificationTime(path, 1300000000, 123456789);
    const QByteArray before = KVTest::readFile(path);
    const KVImageFileRef file = recordOf(path);
    const QDateTime oldDate = file ? file->creationDate() : QDateTime();
    EXPECT_TRUE(writeAnswers(file, false));
    EXPECT_EQ(KVTest::readFile(path), before);
    EXPECT_EQ(modificationTime(path), Stamp(1300000000, 123456789));
    EXPECT_EQ(file->creationDate(), oldDate);
    const QStringList copies = leftoverCopies();
    ASSERT_EQ(copies.size(), 1);
    EXPECT_TRUE(copies[0].endsWith("-Wedding 042.jpg")) << copies[0].toStdString();
    EXPECT_EQ(KVTest::readFile(temporaryFolder() + "/" + copies[0]), before);
}

TEST_F(KVDateWriterTest, RunShellCommandAnswersTheWaitStatusAndCapturesAtMost1023Bytes) {
    const QByteArray silent = fakeTool("silent", "exit 0");
    const struct {
        QByteArray tool, arguments;
        int status; // the exit code, or minus the signal that ended it
    } cases[] = {
        {silent, "", 0},
        {fakeTool("exit3", "exit 3"), "", 3},
        {fakeTool("killed", "kill -KILL $$"), "", -SIGKILL},
        // Once the captured text is full the pipe closes: a flood ends, not hangs.
        {fakeTool("flood", "exec head -c 1000000 /dev/zero"), "", -SIGPIPE},
        // A command line longer than the captured text is cut, the read shrinks to nothing.
        {silent, " " + QByteArray(1500, 'a'), 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.tool.constData());
        const QByteArray command = "\"" + c.tool + "\"" + c.arguments;
        char buffer[kKVOutputBufferSize];
        std::memset(buffer, 'Z', sizeof buffer);
        int length = 0;
        const int status = KVRunShellCommand(command.constData(), buffer, &length);
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), c.status);
        // The text starts with the command line, cut to leave room for its '\r', and ends there.
        EXPECT_TRUE(QByteArray(buffer, length).startsWith(command.left(1022) + '\r'));
        EXPECT_EQ(QByteArray(buffer + length, 2), QByteArray("\0Z", 2));
        EXPECT_EQ(length == 1023, c.status == -SIGPIPE || !c.arguments.isEmpty());
    }
    // Too long for the 2047 bytes of a command line, or needing a shell: not run.
    int length = 99;
    for (const QByteArray &command :
         {"\"" + silent + "\" " + QByteArray(2100, 'a'), QByteArray("x; touch MARKER")}) {
        EXPECT_EQ(KVRunShellCommand(command.constData(), nullptr, &length), -1);
        EXPECT_EQ(length, 0);
    }
    EXPECT_FALSE(markerExists());
}

TEST_F(KVDateWriterTest, RewrittenDataGoesBackInPlaceShorterLeavingTheOldTail) {
    const std::pair<const char *, QByteArray> cases[] = {
        {"shorten", "printf 'SHORT' > \"$last\""}, {"lengthen", "printf 'MORE' >> \"$last\""}};
    for (const auto &[name, body] : cases) {
        SCOPED_TRACE(name);
        fakeTool(name, body, true);
        const QString path = photo(QString(name) + ".jpg");
        const QByteArray before = KVTest::readFile(path);
        const ino_t inode = statOf(path).st_ino;
        EXPECT_TRUE(writeAnswers(recordOf(path), true));
        EXPECT_EQ(KVTest::readFile(path),
                  body.contains(">>") ? before + "MORE" : "SHORT" + before.mid(5));
        EXPECT_EQ(statOf(path).st_ino, inode);
        EXPECT_EQ(modificationTime(path).first, kMarchSeventh.toSecsSinceEpoch());
    }
}

// Every tag exiftool reads, but those a date write may change: the file system's own, the
// tool's, the date tags, the XMP packet it adds, and where blocks sit after the rewrite.
static QJsonObject untouchedTags(const QString &path) {
    QJsonObject tags =
        QJsonDocument::fromJson(exiftool({"-j", "-G1", "-a", "-n", path}).toUtf8())[0].toObject();
    static const QRegularExpression changing("^(System|File|ExifTool|XMP|Composite)|^SourceFile$|"
                                             ":(ModifyDate|DateTimeOriginal|CreateDate|"
                                             "DateTimeDigitized)$|Offset|Start$");
    for (const QString &key : tags.keys())
        if (changing.match(key).hasMatch())
            tags.remove(key);
    return tags;
}

TEST_F(KVDateWriterTest, RealRunWritesAllSixTagsAndTheModificationDateAndNothingElse) {
    for (const char *sample : {"cameras/Canon_40D.jpg", "cameras/Nikon_D70.jpg",
                               "tiff/Arbitro.tiff", "raw/DNG.dng", "raw/CanonRaw.cr2"}) {
        SCOPED_TRACE(sample);
        const QString path = photo(QFileInfo(sample).fileName(), sample);
        // The TIFF samples carry no capture date of their own.
        if (KVTest::readExif(path, "Exif.Photo.DateTimeOriginal").isEmpty()) {
            ASSERT_TRUE(
                KVTest::writeExif(path, {{"Exif.Photo.DateTimeOriginal", "2001:02:03 04:05:06"}}));
        }
        const QJsonObject before = untouchedTags(path);
        ASSERT_GT(before.size(), 5);
        EXPECT_TRUE(writeAnswers(recordOf(path), true));
        const QJsonObject dates =
            QJsonDocument::fromJson(exiftool({"-j", "-G1", "-time:all", path}).toUtf8())[0]
                .toObject();
        for (const char *tag :
             {"IFD0:ModifyDate", "ExifIFD:DateTimeOriginal", "ExifIFD:CreateDate",
              "XMP-exif:DateTimeOriginal", "XMP-xmp:CreateDate", "XMP-exif:DateTimeDigitized"})
            EXPECT_EQ(dates.value(tag).toString(), kDateText) << tag;
        const QJsonObject after = untouchedTags(path);
        for (const QString &key : before.keys())
            EXPECT_EQ(after.value(key), before.value(key)) << key.toStdString();
        EXPECT_EQ(modificationTime(path), Stamp(kMarchSeventh.toSecsSinceEpoch(), 0));
        EXPECT_EQ(recordOf(path)->creationDate(), kMarchSeventh);
    }
    EXPECT_TRUE(leftoverCopies().isEmpty());
}

TEST_F(KVDateWriterTest, ParallelWritesKeepTheirOwnCopies) {
    // One name in different folders, each its own date: a copy written back wrongly shows.
    constexpr int count = 6;
    const auto date = [](int i) { return kMarchSeventh.addSecs(i * 3600); };
    std::vector<KVImageFileRef> files;
    for (int i = 0; i < count; ++i)
        files.push_back(recordOf(photo(QStringLiteral("card %1/IMG_0001.jpg").arg(i))));
    bool results[count] = {};
    StderrCapture capture;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back([&, i] { files[i]->setCreationDate(date(i), &results[i]); });
    for (std::thread &thread : threads)
        thread.join();
    for (int i = 0; i < count; ++i) {
        EXPECT_TRUE(results[i]) << i;
        EXPECT_EQ(dateOnDisk(files[i]->path()),
                  date(i).toLocalTime().toString("yyyy:MM:dd HH:mm:ss"));
    }
}

TEST_F(KVDateWriterTest, TheTemporaryFolderIsMadePrivateAndAForeignOneNeverWrittenInto) {
    QDir().mkpath(temporaryFolder());
    ::chmod(QFile::encodeName(temporaryFolder()).constData(), 0777);
    const int fd = KVOpenTemporaryFolder();
    ASSERT_NE(fd, -1);
    ::close(fd);
    EXPECT_EQ(statOf(temporaryFolder()).st_mode & 07777, 0700u);

    const QString elsewhere = m_dir.filePath("elsewhere");
    QDir().mkpath(elsewhere);
    const std::pair<const char *, std::function<bool(const QString &)>> cases[] = {
        {"symbolic link", [&](const QString &folder) { return QFile::link(elsewhere, folder); }},
        // Only the superuser can give a folder away; for anyone else the case is left out.
        {"another user's folder", [](const QString &folder) {
             return QDir().mkpath(folder) &&
                    ::chown(QFile::encodeName(folder).constData(), 65534, 65534) == 0;
         }}};
    fakeTool("touch", "touch \"$last\"", true);
    for (const auto &[what, plant] : cases) {
        SCOPED_TRACE(what);
        QFile::remove(temporaryFolder());
        QDir(temporaryFolder()).removeRecursively();
        if (!plant(temporaryFolder()))
            continue;
        const QString path = photo("guest.jpg");
        const QByteArray before = KVTest::readFile(path);
        EXPECT_TRUE(writeAnswers(recordOf(path), false));
        EXPECT_EQ(KVTest::readFile(path), before);
        EXPECT_TRUE(QDir(elsewhere).isEmpty());
        EXPECT_TRUE(QFileInfo(temporaryFolder()).isSymLink() ||
                    !QFileInfo(temporaryFolder()).isDir() || QDir(temporaryFolder()).isEmpty());
    }
}

TEST_F(KVDateWriterTest, WithoutAFileOrADateNothingIsWritten) {
    EXPECT_TRUE(writeAnswers(KVImageFile::initWithDate(kMarchSeventh), false));
    const QString path = photo("nodate.jpg");
    const QByteArray before = KVTest::readFile(path);
    EXPECT_TRUE(writeAnswers(recordOf(path), false, nullptr, QDateTime()));
    EXPECT_EQ(KVTest::readFile(path), before);
}

TEST_F(KVDateWriterTest, FileDatesAreSecondsSince1904AndTheToolRunRestoresThem) {
    const QString path = photo("dates.jpg");
    const QByteArray native = QFile::encodeName(path);
    setModificationTime(path, 1394175909, 750000000);
    uint32_t modification = 1;
    EXPECT_EQ(KVGetFileDates(native.constData(), nullptr, &modification), 0);
    EXPECT_EQ(modification, uint32_t(1394175909 + kSecondsFrom1904To1970));
    // Restoring drops the fraction of a second.
    EXPECT_EQ(KVSetFileDates(native.constData(), 5, modification, 1), 0);
    EXPECT_EQ(modificationTime(path), Stamp(1394175909, 0));
    // A tool that touches the file has its dates put back only when asked to.
    fakeTool("touch", "touch \"$last\"", true);
    for (const int restore : {1, 0}) {
        setModificationTime(path, 1262304000, 500);
        StderrCapture capture;
        EXPECT_EQ(KVWriteDatesWithTool(native.constData(), kDateText, 0, restore), 0);
        EXPECT_EQ(modificationTime(path).first == 1262304000, restore == 1);
    }
}
