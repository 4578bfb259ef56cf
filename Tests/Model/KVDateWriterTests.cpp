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
#include <string>
#include <thread>
#include <utility>
#include <vector>

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
class StderrCapture {
public:
    StderrCapture()
        : m_file(std::tmpfile())
        , m_saved(::dup(STDERR_FILENO)) {
        std::fflush(stderr);
        ::dup2(::fileno(m_file), STDERR_FILENO);
    }
    ~StderrCapture() { finish(); }
    QByteArray finish() {
        if (m_file) {
            std::fflush(stderr);
            ::dup2(m_saved, STDERR_FILENO);
            ::close(m_saved);
            std::rewind(m_file);
            char chunk[4096];
            for (size_t got; (got = std::fread(chunk, 1, sizeof chunk, m_file)) > 0;)
                m_text.append(chunk, static_cast<qsizetype>(got));
            std::fclose(std::exchange(m_file, nullptr));
        }
        return m_text;
    }

private:
    std::FILE *m_file;
    int m_saved;
    QByteArray m_text;
};

struct stat statOf(const QString &path) {
    struct stat info {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info;
}

Stamp modificationTime(const QString &path) {
    const struct stat info = statOf(path);
    return {info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
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

KVImageFileRef recordOf(const QString &path) {
    return KVImageFile::initWithURL(QUrl::fromLocalFile(path));
}

// The whole write of a record, standard error captured into *echoed; true when it answered
// `expected` (the flag starts at the other value, so an untouched flag fails).
bool writeAnswers(const KVImageFileRef &file, bool expected, QByteArray *echoed = nullptr,
                  const QDateTime &date = kMarchSeventh) {
    EXPECT_TRUE(file);
    if (!file)
        return false;
    StderrCapture capture;
    bool succeeded = !expected;
    file->setCreationDate(date, &succeeded);
    if (echoed)
        *echoed = capture.finish();
    return succeeded == expected;
}

int16_t writeWithTool(const QString &path, int echo = 1, int restore = 1) {
    StderrCapture capture;
    return KVWriteDatesWithTool(QFile::encodeName(path).constData(), kDateText, echo, restore);
}

class KVDateWriterTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_dir.isValid());
        m_oldRuntime = qgetenv("XDG_RUNTIME_DIR");
        m_runtime = m_dir.filePath("runtime");
        QDir().mkpath(m_runtime);
        ::chmod(QFile::encodeName(m_runtime).constData(), 0700);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime));
        // A command that escaped its quotes would create its marker here.
        m_oldCurrent = QDir::currentPath();
        QDir::setCurrent(m_dir.path());
        KVSetToolPath(KALVORA_EXIFTOOL);
    }

    void TearDown() override {
        QDir::setCurrent(m_oldCurrent);
        if (m_oldRuntime.isNull())
            qunsetenv("XDG_RUNTIME_DIR");
        else
            qputenv("XDG_RUNTIME_DIR", m_oldRuntime);
        KVSetToolPath(KALVORA_EXIFTOOL);
    }

    QString photo(const QString &name, const QString &sample = "cameras/Canon_40D.jpg") {
        const QString target = m_dir.filePath("photos/" + name);
        QDir().mkpath(QFileInfo(target).path());
        QFile::remove(target);
        if (!QFile::copy(KVTest::samplePath(sample), target))
            return {};
        QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner);
        return target;
    }

    // A stand-in for the tool: a shell script that sees the arguments the real one would.
    QByteArray fakeTool(const QString &name, const QByteArray &body) {
        const QString path = m_dir.filePath("tools/" + name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\nfor a; do last=$a; done\n" + body + "\n");
        file.close();
        ::chmod(QFile::encodeName(path).constData(), 0755);
        return QFile::encodeName(path);
    }
    QByteArray useTool(const QString &name, const QByteArray &body) {
        const QByteArray tool = fakeTool(name, body);
        KVSetToolPath(tool.constData());
        return tool;
    }

    QString temporaryFolder() const { return m_runtime + "/org.kalvora.Kalvora"; }
    QStringList leftoverCopies() const {
        return QDir(temporaryFolder()).entryList(QDir::Files | QDir::Hidden | QDir::System);
    }
    bool markerExists() const { return QFileInfo::exists(m_dir.filePath("MARKER")); }

    QTemporaryDir m_dir;
    QString m_runtime;

private:
    QByteArray m_oldRuntime;
    QString m_oldCurrent;
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
    EXPECT_FALSE(KVEscapeQuotes("x", nullptr, 7));
}

TEST(KVDateWriter, SplitsLikeTheShellQuotesWithoutExpanding) {
    using Words = std::vector<std::string>;
    const std::pair<std::string, Words> cases[] = {
        {"\"/a b/tool\" -X='2014:03:07 08:05:09' \"f.jpg\"",
         {"/a b/tool", "-X=2014:03:07 08:05:09", "f.jpg"}},
        {"one  \t two \"\" ''", {"one", "two", "", ""}},
        // Inside double quotes a backslash escapes only $ ` " \ and newline.
        {R"("a\$b" "a\`b" "a\"b" "a\\b" "a\b" "a\'b")",
         {"a$b", "a`b", "a\"b", "a\\b", "a\\b", "a\\'b"}},
        {"\"line\\\njoined\" \"new\nline\"", {"linejoined", "new\nline"}},
        // Nothing is substituted: these reach the program as they are.
        {"x \"$(touch MARKER)\" \"`touch MARKER`\" \"a;b|c&d\" \"$HOME\"",
         {"x", "$(touch MARKER)", "`touch MARKER`", "a;b|c&d", "$HOME"}},
        {"x 'a\\b \"c\" $d'", {"x", "a\\b \"c\" $d"}},
        {"x a\\ b a\\;b a\\* \\\n y a=b ab#c", {"x", "a b", "a;b", "a*", "y", "a=b", "ab#c"}}};
    for (const auto &[line, words] : cases) {
        SCOPED_TRACE(line);
        EXPECT_EQ(KVChildProcess::splitArguments(line), words);
    }
    // Lines that need a real shell are not started at all.
    // clang-format off
    const std::string refused[] = {"", "   ", "x; touch MARKER", "x | y", "x && y", "x > out",
        "x $(touch MARKER)", "x `touch MARKER`", "x $HOME", "x *.jpg", "x ~/file", "x #comment",
        "x\ny", "x (y)", "\"unterminated", "'unterminated", "x trailing\\", "VAR=1 x", "if x", "! x",
        std::string("x \"a\0b\"", 7)};
    // clang-format on
    for (const std::string &line : refused) {
        SCOPED_TRACE(line);
        EXPECT_EQ(KVChildProcess::splitArguments(line), std::nullopt);
    }
}

TEST_F(KVDateWriterTest, ComposesTheCommandLineByteForByteWithLocalTimeOnAPrivateCopy) {
    const QByteArray tool = useTool("print", "for a; do printf '[%s]\\n' \"$a\"; done");
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
    // The record logs its own lines around the echo.
    EXPECT_TRUE(echoed.contains(command + '\r' + output + '\n')) << echoed.constData();
    EXPECT_TRUE(leftoverCopies().isEmpty());
}

TEST_F(KVDateWriterTest, HostileAndOddNamesGetTheirDatesWrittenAndRunNothing) {
    for (const char *name : {"$(touch MARKER).jpg", "`touch MARKER`.jpg", "a;touch MARKER;b.jpg",
                             "a\";touch MARKER;\".jpg", "it's me'; touch MARKER; '.jpg",
                             "back\\slash.jpg", "dollar $HOME \\n.jpg", "new\nline.jpg",
                             "  spaced   out .jpg", "Ümlaut ñ 日本語.jpg", "-dash.jpg"}) {
        SCOPED_TRACE(name);
        const QString path = photo(QString::fromUtf8(name));
        const KVImageFileRef file = recordOf(path);
        ASSERT_TRUE(file);
        EXPECT_TRUE(writeAnswers(file, true));
        EXPECT_EQ(exiftool({"-s3", "-DateTimeOriginal", path}), kDateText);
        EXPECT_EQ(file->creationDate(), kMarchSeventh);
        EXPECT_FALSE(markerExists());
    }
    EXPECT_TRUE(leftoverCopies().isEmpty());
}

TEST_F(KVDateWriterTest, NamesTheTemplateCannotCarryAreRefusedWithoutTouchingAnyFile) {
    // Only double quotes are escaped: read back, these names would designate other files
    // (`misread`, what sh would make of the name; empty when it breaks the line).
    // clang-format off
    const std::pair<QString, QString> cases[] = {{"a\\$b.jpg", "a$b.jpg"}, {"a\\`b.jpg", "a`b.jpg"},
        {"a\\\\b.jpg", "a\\b.jpg"}, {"a\\\nb.jpg", "ab.jpg"}, {"a\\\"; touch MARKER; \".jpg", ""},
        {"ends in backslash\\", ""}};
    // clang-format on
    for (const auto &[name, misread] : cases) {
        SCOPED_TRACE(name.toStdString());
        const QString path = photo(name);
        ASSERT_FALSE(path.isEmpty());
        const QByteArray before = KVTest::readFile(path);
        const QString decoy =
            misread.isEmpty() ? QString() : photo(misread, "cameras/Nikon_D70.jpg");
        const QByteArray decoyBefore = KVTest::readFile(decoy);
        EXPECT_NE(writeWithTool(path), 0);
        EXPECT_TRUE(writeAnswers(recordOf(path), false)); // the whole write refuses too
        EXPECT_EQ(KVTest::readFile(path), before);
        EXPECT_EQ(KVTest::readFile(decoy), decoyBefore);
        EXPECT_FALSE(markerExists());
        QFile::remove(decoy);
    }
}

TEST_F(KVDateWriterTest, AFailingToolLeavesThePhotoAloneAndKeepsTheCopy) {
    useTool("fail", "echo 'Error: boom' >&2; exit 1");
    const QString path = photo("Wedding 042.jpg");
    setModificationTime(path, 1300000000, 123456789);
    const QByteArray before = KVTest::readFile(path);
    const KVImageFileRef file = recordOf(path);
    ASSERT_TRUE(file);
    const QDateTime oldDate = file->creationDate();
    QByteArray echoed;
    EXPECT_TRUE(writeAnswers(file, false, &echoed));
    EXPECT_EQ(KVTest::readFile(path), before);
    EXPECT_EQ(modificationTime(path), Stamp(1300000000, 123456789));
    EXPECT_EQ(file->creationDate(), oldDate);
    EXPECT_TRUE(echoed.contains("\rError: boom\n")) << echoed.constData();
    const QStringList copies = leftoverCopies();
    ASSERT_EQ(copies.size(), 1);
    EXPECT_TRUE(QRegularExpression("^" + kUuid + "Wedding 042\\.jpg$").match(copies[0]).hasMatch())
        << copies[0].toStdString();
    EXPECT_EQ(KVTest::readFile(temporaryFolder() + "/" + copies[0]), before);
}

TEST_F(KVDateWriterTest, RunShellCommandAnswersTheWaitStatusAndCapturesAtMost1023Bytes) {
    const QString bulk = m_dir.filePath("bulk");
    QFile bulkFile(bulk);
    ASSERT_TRUE(bulkFile.open(QIODevice::WriteOnly) && bulkFile.write(QByteArray(5000, 'x')));
    bulkFile.close();
    const QByteArray chatty = fakeTool("chatty", "exec cat '" + QFile::encodeName(bulk) + "'");
    const QByteArray silent = fakeTool("silent", "exit 0");
    const struct {
        QByteArray tool, arguments;
        int code; // -1 when ended by `signal`
        int signal;
        QByteArray text; // the start of the captured text, padded with 'x' to 1023 bytes
    } cases[] = {
        {silent, "", 0, 0, {}},
        {fakeTool("exit3", "exit 3"), "", 3, 0, {}},
        {fakeTool("exit255", "exit 255"), "", 255, 0, {}},
        {fakeTool("killed", "kill -KILL $$"), "", -1, SIGKILL, {}},
        // Once the captured text is full the pipe closes: a flood ends, not hangs.
        {fakeTool("flood", "exec head -c 1000000 /dev/zero"), "", -1, SIGPIPE, {}},
        {chatty, " some argument", 0, 0, "\"" + chatty + "\" some argument\r"},
        // A command line longer than the captured text is cut, the read shrinks to nothing.
        {silent, " " + QByteArray(1500, 'a'), 0, 0,
         ("\"" + silent + "\" ").leftJustified(1022, 'a') + '\r'}};
    const QString path = photo("status.jpg");
    for (const auto &c : cases) {
        SCOPED_TRACE(c.tool.constData());
        const QByteArray command = "\"" + c.tool + "\"" + c.arguments;
        char buffer[kKVOutputBufferSize];
        std::memset(buffer, 'Z', sizeof buffer);
        int length = 0;
        const int status = KVRunShellCommand(command.constData(), buffer, &length);
        ASSERT_NE(status, -1);
        EXPECT_EQ(WIFEXITED(status), c.code >= 0);
        EXPECT_EQ(c.code >= 0 ? WEXITSTATUS(status) : WTERMSIG(status),
                  c.code >= 0 ? c.code : c.signal);
        if (!c.text.isEmpty() || c.signal == SIGPIPE) {
            ASSERT_EQ(length, 1023);
            EXPECT_EQ(QByteArray(buffer + 1023, 2), QByteArray("\0Z", 2));
        }
        if (!c.text.isEmpty()) {
            EXPECT_EQ(QByteArray(buffer, 1023), c.text.leftJustified(1023, 'x'));
        }
        // More than the 2047 bytes a command line may have is not run.
        EXPECT_EQ(KVRunShellCommand(command + " " + QByteArray(2100, 'a'), buffer, &length), -1);
        EXPECT_EQ(length, 0);
        // The tool's status is the whole write's answer.
        KVSetToolPath(c.tool.constData());
        EXPECT_EQ(writeWithTool(path) == 0, c.code == 0);
    }
    int length = 99;
    EXPECT_EQ(KVRunShellCommand("\"/nonexistent/tool\" x", nullptr, &length), -1);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(KVRunShellCommand("x; touch MARKER", nullptr, nullptr), -1);
    EXPECT_EQ(KVRunShellCommand(nullptr, nullptr, nullptr), -1);
    EXPECT_FALSE(markerExists());
    KVSetToolPath("/nonexistent/tool");
    EXPECT_NE(writeWithTool(path), 0);

    // The echo for a photo is the same text and a line feed; without echo, nothing.
    KVSetToolPath(chatty.constData());
    const QByteArray native = QFile::encodeName(path);
    StderrCapture capture;
    EXPECT_EQ(KVWriteDatesWithTool(native.constData(), kDateText, 1, 1), 0);
    const QByteArray echoed = capture.finish();
    ASSERT_EQ(echoed.size(), 1024);
    EXPECT_TRUE(echoed.startsWith("\"" + chatty + "\" -EXIF:ModifyDate="));
    EXPECT_EQ(echoed.count('\r'), 1);
    EXPECT_TRUE(echoed.endsWith("xxxx\n"));
    StderrCapture quiet;
    EXPECT_EQ(KVWriteDatesWithTool(native.constData(), kDateText, 0, 1), 0);
    EXPECT_TRUE(quiet.finish().isEmpty());
}

TEST_F(KVDateWriterTest, RewrittenDataGoesBackInPlaceShorterLeavingTheOldTail) {
    const std::pair<const char *, QByteArray> cases[] = {
        {"shorten", "printf 'SHORT' > \"$last\""}, {"lengthen", "printf 'MORE' >> \"$last\""}};
    for (const auto &[name, body] : cases) {
        SCOPED_TRACE(name);
        useTool(name, body);
        const QString path = photo(QString(name) + ".jpg");
        const QByteArray before = KVTest::readFile(path);
        const ino_t inode = statOf(path).st_ino;
        EXPECT_TRUE(writeAnswers(recordOf(path), true));
        EXPECT_EQ(KVTest::readFile(path),
                  body.contains(">>") ? before + "MORE" : "SHORT" + before.mid(5));
        EXPECT_EQ(statOf(path).st_ino, inode);
        EXPECT_EQ(modificationTime(path).first, kMarchSeventh.toSecsSinceEpoch());
        EXPECT_TRUE(leftoverCopies().isEmpty());
    }
}

TEST_F(KVDateWriterTest, OverLongPathsAndCommandLinesFailCleanly) {
    // The tool path keeps at most 2047 bytes.
    const std::string longTool = "/" + std::string(3000, 't');
    KVSetToolPath(longTool.c_str());
    EXPECT_EQ(std::string(KVToolPath()), longTool.substr(0, 2047));
    KVSetToolPath(nullptr);
    EXPECT_STREQ(KVToolPath(), "");

    // A path that fits on its own but not with a long tool path in the 2047-byte line.
    KVSetToolPath(longTool.substr(0, 1901).c_str());
    EXPECT_NE(writeWithTool(photo(QString(200, 'n') + ".jpg")), 0);
    KVSetToolPath(KALVORA_EXIFTOOL);

    // A folder deep enough that the photo's path passes the 1023 bytes of its buffer.
    QString deep = m_dir.filePath("deep");
    while (deep.size() < 1100)
        deep += "/" + QString(60, 'd');
    ASSERT_TRUE(QDir().mkpath(deep));
    const QString longPath = deep + "/long.jpg";
    ASSERT_TRUE(QFile::copy(KVTest::samplePath("cameras/Canon_40D.jpg"), longPath));
    const QByteArray before = KVTest::readFile(longPath);
    EXPECT_NE(writeWithTool(longPath), 0);

    // The whole write: the copy lands in a temporary folder so deep that its path is too long.
    const QString shortPhoto = photo("short.jpg");
    const QByteArray shortBefore = KVTest::readFile(shortPhoto);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(deep));
    EXPECT_TRUE(writeAnswers(recordOf(shortPhoto), false));
    EXPECT_EQ(KVTest::readFile(shortPhoto), shortBefore);
    EXPECT_EQ(KVTest::readFile(longPath), before);
}

// Every tag exiftool reads, but those a date write may change: the file system's own, the
// tool's, the date tags, the XMP packet it adds, and where blocks sit after the rewrite.
static QJsonObject untouchedTags(const QString &path) {
    QJsonObject tags =
        QJsonDocument::fromJson(exiftool({"-j", "-G1", "-a", "-n", path}).toUtf8())[0].toObject();
    for (const QString &key : tags.keys()) {
        if (key.startsWith("System:") || key.startsWith("File:") || key.startsWith("ExifTool:") ||
            key.startsWith("XMP") || key == "SourceFile" || key.startsWith("Composite:") ||
            key.endsWith(":ModifyDate") || key.endsWith(":DateTimeOriginal") ||
            key.endsWith(":CreateDate") || key.endsWith(":DateTimeDigitized") ||
            key.contains("Offset") || key.endsWith("Start"))
            tags.remove(key);
    }
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
        const KVImageFileRef file = recordOf(path);
        ASSERT_TRUE(file);
        ASSERT_NE(file->creationDate(), kMarchSeventh);
        EXPECT_TRUE(writeAnswers(file, true));
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
        EXPECT_EQ(file->creationDate(), kMarchSeventh);
        const KVImageFileRef reread = recordOf(path);
        ASSERT_TRUE(reread);
        EXPECT_EQ(reread->creationDate(), kMarchSeventh);
    }
    EXPECT_TRUE(leftoverCopies().isEmpty());
}

TEST_F(KVDateWriterTest, ParallelWritesKeepTheirOwnCopies) {
    // One name in different folders, each its own date: a copy written back wrongly shows.
    constexpr int count = 6;
    std::vector<KVImageFileRef> files;
    for (int i = 0; i < count; ++i) {
        files.push_back(recordOf(photo(QStringLiteral("card %1/IMG_0001.jpg").arg(i))));
        ASSERT_TRUE(files.back());
    }
    std::vector<char> results(count, 0);
    StderrCapture capture;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            bool succeeded = false;
            files[i]->setCreationDate(kMarchSeventh.addSecs(i * 3600), &succeeded);
            results[i] = succeeded;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    capture.finish();
    for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(results[i]);
        EXPECT_EQ(exiftool({"-s3", "-DateTimeOriginal", files[i]->path()}),
                  kMarchSeventh.addSecs(i * 3600).toLocalTime().toString("yyyy:MM:dd HH:mm:ss"));
    }
    EXPECT_TRUE(leftoverCopies().isEmpty());
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
        {"regular file",
         [](const QString &folder) { return QFile(folder).open(QIODevice::WriteOnly); }},
        // Only the superuser can give a folder away; for anyone else the case is left out.
        {"another user's folder", [](const QString &folder) {
             return QDir().mkpath(folder) &&
                    ::chown(QFile::encodeName(folder).constData(), 65534, 65534) == 0;
         }}};
    useTool("touch", "touch \"$last\"");
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

    // Without a runtime folder the copies go below the temporary path.
    qunsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(KVTemporaryFolderPath(), QDir::tempPath() + "/org.kalvora.Kalvora");
}

TEST_F(KVDateWriterTest, WithoutAFileADateOrACopyNothingIsWritten) {
    EXPECT_TRUE(writeAnswers(KVImageFile::initWithDate(kMarchSeventh), false));
    {
        const QString flagless = photo("flagless.jpg"); // no flag to answer through is fine
        StderrCapture capture;
        recordOf(flagless)->setCreationDate(kMarchSeventh, nullptr);
        EXPECT_EQ(exiftool({"-s3", "-DateTimeOriginal", flagless}), kDateText);
    }
    const QString path = photo("nocopy.jpg");
    setModificationTime(path, 1300000000);
    const QByteArray before = KVTest::readFile(path);
    EXPECT_TRUE(writeAnswers(recordOf(path), false, nullptr, QDateTime()));
    // The temporary folder cannot be made below a regular file, so no copy comes to exist:
    // the write answers success and does nothing.
    const QString blocker = m_dir.filePath("blocker");
    QFile(blocker).open(QIODevice::WriteOnly);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(blocker + "/runtime"));
    useTool("touch", "touch MARKER \"$last\"");
    EXPECT_TRUE(writeAnswers(recordOf(path), true));
    EXPECT_EQ(KVTest::readFile(path), before);
    EXPECT_EQ(modificationTime(path), Stamp(1300000000, 0));
    EXPECT_FALSE(markerExists());
}

TEST_F(KVDateWriterTest, FileDatesAreSecondsSince1904AndTheToolRunRestoresThem) {
    const QString path = photo("dates.jpg");
    const QByteArray native = QFile::encodeName(path);
    setModificationTime(path, 1394175909, 750000000);
    uint32_t creation = 1, modification = 1;
    EXPECT_EQ(KVGetFileDates(native.constData(), &creation, &modification), 0);
    EXPECT_EQ(modification, uint32_t(1394175909 + kSecondsFrom1904To1970));
    const uint32_t birth = creation;

    // Restoring drops the fraction of a second, and sets only the modification date.
    EXPECT_EQ(KVSetFileDates(native.constData(), 5, modification, 1), 0);
    EXPECT_EQ(modificationTime(path), Stamp(1394175909, 0));
    EXPECT_EQ(KVSetFileDates(native.constData(), 5, modification + 100, 0), 0);
    EXPECT_EQ(modificationTime(path), Stamp(1394175909, 0));
    EXPECT_EQ(KVGetFileDates(native.constData(), &creation, nullptr), 0);
    EXPECT_EQ(creation, birth);

    // Before 1904 or past 2040 the count stops at its ends.
    for (const auto &[seconds, count] :
         {std::pair<time_t, uint32_t>(-kSecondsFrom1904To1970 - 10, 0), {4000000000, UINT32_MAX}}) {
        setModificationTime(path, seconds);
        EXPECT_EQ(KVGetFileDates(native.constData(), nullptr, &modification), 0);
        EXPECT_EQ(modification, count);
    }

    const QByteArray missing = QFile::encodeName(m_dir.filePath("missing.jpg"));
    EXPECT_EQ(KVGetFileDates(missing.constData(), &creation, &modification), ENOENT);
    EXPECT_EQ(std::pair(creation, modification), std::pair(0u, 0u));
    EXPECT_EQ(KVSetFileDates(missing.constData(), 1, 1, 1), ENOENT);
    EXPECT_FALSE(QFileInfo::exists(m_dir.filePath("missing.jpg")));

    // A tool that touches the file has its dates put back only when asked to.
    useTool("touch", "touch \"$last\"");
    for (const int restore : {1, 0}) {
        setModificationTime(path, 1262304000, 500);
        EXPECT_EQ(writeWithTool(path, 0, restore), 0);
        EXPECT_EQ(modificationTime(path).first == 1262304000, restore == 1);
    }
}
