#include "KVDateWriter.h"

#include "KVChildProcess.h"
#include "KVImageFile.h"
#include "KVTestSupport.h"
#include "KVUserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr qint64 kSecondsFrom1904To1970 = 2082844800;
const char kDateText[] = "2014:03:07 08:05:09";

// 2014-03-07 08:05:09 in Berlin (CET, one hour ahead of UTC).
QDateTime marchSeventh() {
    return QDateTime(QDate(2014, 3, 7), QTime(7, 5, 9), Qt::UTC);
}

// Everything written to standard error (the descriptor, so C and Qt writers alike) while alive.
class StderrCapture {
public:
    StderrCapture() {
        std::fflush(stderr);
        m_file = std::tmpfile();
        m_saved = ::dup(STDERR_FILENO);
        ::dup2(::fileno(m_file), STDERR_FILENO);
    }
    ~StderrCapture() { finish(); }
    QByteArray finish() {
        if (!m_file)
            return m_text;
        std::fflush(stderr);
        ::dup2(m_saved, STDERR_FILENO);
        ::close(m_saved);
        std::rewind(m_file);
        char chunk[4096];
        size_t got;
        while ((got = std::fread(chunk, 1, sizeof chunk, m_file)) > 0)
            m_text.append(chunk, static_cast<qsizetype>(got));
        std::fclose(m_file);
        m_file = nullptr;
        return m_text;
    }

private:
    std::FILE *m_file = nullptr;
    int m_saved = -1;
    QByteArray m_text;
};

struct timespec modificationTime(const QString &path) {
    struct stat info {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info.st_mtim;
}

bool sameTime(const struct timespec &a, const struct timespec &b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

void setModificationTime(const QString &path, time_t seconds, long nanoseconds = 0) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
}

QString exiftool(const QStringList &arguments) {
    QProcess process;
    process.start(QStringLiteral(KALVORA_EXIFTOOL), arguments);
    process.waitForFinished(60000);
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

QString dateTimeOriginal(const QString &path) {
    return exiftool({"-s", "-s", "-s", "-DateTimeOriginal", path});
}

// Every date tag the tool finds, keyed "Group:Tag".
QJsonObject allDates(const QString &path) {
    const QString json = exiftool({"-j", "-G1", "-time:all", path});
    return QJsonDocument::fromJson(json.toUtf8()).array().at(0).toObject();
}

const char *const kWrittenTags[] = {"IFD0:ModifyDate",    "ExifIFD:DateTimeOriginal",
                                    "ExifIFD:CreateDate", "XMP-exif:DateTimeOriginal",
                                    "XMP-xmp:CreateDate", "XMP-exif:DateTimeDigitized"};

class KVDateWriterTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_dir.isValid());
        m_hadRuntime = qEnvironmentVariableIsSet("XDG_RUNTIME_DIR");
        m_oldRuntime = qgetenv("XDG_RUNTIME_DIR");
        m_runtime = m_dir.filePath("runtime");
        QDir().mkpath(m_runtime);
        ::chmod(QFile::encodeName(m_runtime).constData(), 0700);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime));
        QDir().mkpath(m_dir.filePath("photos"));
        // A command that escaped its quotes would create its marker here.
        m_oldCurrent = QDir::currentPath();
        QDir::setCurrent(m_dir.path());
        KVSetToolPath(KALVORA_EXIFTOOL);
    }

    void TearDown() override {
        QDir::setCurrent(m_oldCurrent);
        if (m_hadRuntime)
            qputenv("XDG_RUNTIME_DIR", m_oldRuntime);
        else
            qunsetenv("XDG_RUNTIME_DIR");
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
    QString fakeTool(const QString &name, const QByteArray &body) {
        const QString path = m_dir.filePath("tools/" + name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\nfor a; do last=$a; done\n" + body + "\n");
        file.close();
        ::chmod(QFile::encodeName(path).constData(), 0755);
        return path;
    }

    QString temporaryFolder() const { return m_runtime + "/org.kalvora.Kalvora"; }
    QStringList leftoverCopies() const {
        return QDir(temporaryFolder()).entryList(QDir::Files | QDir::Hidden | QDir::System);
    }
    bool markerExists() const { return QFileInfo::exists(m_dir.filePath("MARKER")); }

    QTemporaryDir m_dir;
    QString m_runtime;

private:
    bool m_hadRuntime = false;
    QByteArray m_oldRuntime;
    QString m_oldCurrent;
};

KVImageFileRef recordOf(const QString &path) {
    return KVImageFile::initWithURL(QUrl::fromLocalFile(path));
}

} // namespace

TEST(KVDateWriter, EscapeQuotesPutsBackslashBeforeDoubleQuotesOnly) {
    const struct {
        const char *text;
        const char *escaped;
    } cases[] = {
        {"", ""},
        {"plain.jpg", "plain.jpg"},
        {"a\"b.jpg", "a\\\"b.jpg"},
        {"\"\"", "\\\"\\\""},
        {"it's.jpg", "it's.jpg"},
        {"back\\slash $HOME `x`.jpg", "back\\slash $HOME `x`.jpg"},
        {"new\nline", "new\nline"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        char result[64];
        std::memset(result, 'Z', sizeof result);
        ASSERT_TRUE(KVEscapeQuotes(c.text, result, sizeof result));
        EXPECT_STREQ(result, c.escaped);
    }
}

TEST(KVDateWriter, EscapeQuotesRefusesWhatDoesNotFitAndNeverOverruns) {
    char buffer[8];
    std::memset(buffer, 'Z', sizeof buffer);
    // Six bytes of text and the terminator fill seven of the eight bytes.
    EXPECT_TRUE(KVEscapeQuotes("ab\"cd", buffer, 7));
    EXPECT_STREQ(buffer, "ab\\\"cd");
    EXPECT_EQ(buffer[7], 'Z');

    std::memset(buffer, 'Z', sizeof buffer);
    EXPECT_FALSE(KVEscapeQuotes("ab\"cde", buffer, 7));
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(buffer[6], 'Z');
    EXPECT_EQ(buffer[7], 'Z');
    EXPECT_FALSE(KVEscapeQuotes("x", nullptr, 7));
}

TEST(KVDateWriter, ToolPathKeepsAtMost2047Bytes) {
    const std::string longPath = "/" + std::string(3000, 'p');
    KVSetToolPath(longPath.c_str());
    EXPECT_EQ(std::string(KVToolPath()), longPath.substr(0, 2047));
    KVSetToolPath(nullptr);
    EXPECT_STREQ(KVToolPath(), "");
    KVSetToolPath(KALVORA_EXIFTOOL);
    EXPECT_STREQ(KVToolPath(), KALVORA_EXIFTOOL);
}

TEST(KVDateWriter, SplitsLikeTheShellQuotesWithoutExpanding) {
    using Words = std::vector<std::string>;
    const struct {
        std::string line;
        std::optional<Words> words;
    } cases[] = {
        {"\"/a b/tool\" -X='2014:03:07 08:05:09' \"f.jpg\"",
         Words{"/a b/tool", "-X=2014:03:07 08:05:09", "f.jpg"}},
        {"one  \t two", Words{"one", "two"}},
        {"\"\" ''", Words{"", ""}},
        // Inside double quotes a backslash escapes only $ ` " \ and newline.
        {R"("a\$b" "a\`b" "a\"b" "a\\b" "a\b" "a\'b")",
         Words{"a$b", "a`b", "a\"b", "a\\b", "a\\b", "a\\'b"}},
        {"\"line\\\njoined\"", Words{"linejoined"}},
        {"\"new\nline\"", Words{"new\nline"}},
        // Nothing is substituted: these reach the program as they are.
        {"x \"$(touch MARKER)\" \"`touch MARKER`\" \"a;b|c&d\" \"$HOME\"",
         Words{"x", "$(touch MARKER)", "`touch MARKER`", "a;b|c&d", "$HOME"}},
        {"x 'a\\b \"c\" $d'", Words{"x", "a\\b \"c\" $d"}},
        {"x a\\ b a\\;b a\\*", Words{"x", "a b", "a;b", "a*"}},
        {"x \\\n y", Words{"x", "y"}},
        {"x a=b", Words{"x", "a=b"}},
        {"x ab#c", Words{"x", "ab#c"}},
        // Lines that need a real shell are not started at all.
        {"", std::nullopt},
        {"   ", std::nullopt},
        {"x; touch MARKER", std::nullopt},
        {"x | y", std::nullopt},
        {"x && y", std::nullopt},
        {"x > out", std::nullopt},
        {"x $(touch MARKER)", std::nullopt},
        {"x `touch MARKER`", std::nullopt},
        {"x $HOME", std::nullopt},
        {"x *.jpg", std::nullopt},
        {"x ~/file", std::nullopt},
        {"x #comment", std::nullopt},
        {"x\ny", std::nullopt},
        {"x (y)", std::nullopt},
        {"\"unterminated", std::nullopt},
        {"'unterminated", std::nullopt},
        {"x trailing\\", std::nullopt},
        {"VAR=1 x", std::nullopt},
        {"if x", std::nullopt},
        {"! x", std::nullopt},
        {std::string("x \"a\0b\"", 7), std::nullopt},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(KVChildProcess::splitArguments(c.line), c.words);
    }
}

TEST_F(KVDateWriterTest, ComposesTheCommandLineByteForByte) {
    const QString tool = fakeTool("print-arguments", "for a; do printf '[%s]\\n' \"$a\"; done");
    KVSetToolPath(QFile::encodeName(tool).constData());
    const QString file = photo("Say \"cheese\" it's me.jpg");
    const QByteArray nativeFile = QFile::encodeName(file);

    StderrCapture capture;
    const int16_t status = KVWriteDatesWithTool(nativeFile.constData(), kDateText, 1, 1);
    const QByteArray echoed = capture.finish();
    EXPECT_EQ(status, 0);

    QByteArray escaped = nativeFile;
    escaped.replace("\"", "\\\"");
    const QByteArray command =
        "\"" + QFile::encodeName(tool) +
        "\" -EXIF:ModifyDate='2014:03:07 08:05:09' -EXIF:DateTimeOriginal='2014:03:07 "
        "08:05:09' -EXIF:CreateDate='2014:03:07 08:05:09' -XMP:DateTimeOriginal='2014:03:07 "
        "08:05:09' -XMP:CreateDate='2014:03:07 08:05:09' -XMP:DateTimeDigitized='2014:03:07 "
        "08:05:09' -overwrite_original_in_place \"" +
        escaped + "\"";
    const QByteArray output = "[-EXIF:ModifyDate=2014:03:07 08:05:09]\n"
                              "[-EXIF:DateTimeOriginal=2014:03:07 08:05:09]\n"
                              "[-EXIF:CreateDate=2014:03:07 08:05:09]\n"
                              "[-XMP:DateTimeOriginal=2014:03:07 08:05:09]\n"
                              "[-XMP:CreateDate=2014:03:07 08:05:09]\n"
                              "[-XMP:DateTimeDigitized=2014:03:07 08:05:09]\n"
                              "[-overwrite_original_in_place]\n[" +
                              nativeFile + "]\n";
    EXPECT_EQ(echoed, command + '\r' + output + '\n');
}

TEST_F(KVDateWriterTest, SetCreationDateHandsTheLocalWallClockTimeToAllSixTags) {
    const QString tool = fakeTool("print-arguments", "for a; do printf '[%s]\\n' \"$a\"; done");
    KVSetToolPath(QFile::encodeName(tool).constData());
    const KVImageFileRef file = recordOf(photo("IMG_0001.jpg"));
    ASSERT_TRUE(file);

    StderrCapture capture;
    bool succeeded = false;
    file->setCreationDate(marchSeventh(), &succeeded);
    const QByteArray echoed = capture.finish();
    EXPECT_TRUE(succeeded);
    for (const char *tag : {"-EXIF:ModifyDate", "-EXIF:DateTimeOriginal", "-EXIF:CreateDate",
                            "-XMP:DateTimeOriginal", "-XMP:CreateDate", "-XMP:DateTimeDigitized"}) {
        SCOPED_TRACE(tag);
        EXPECT_TRUE(echoed.contains(QByteArray(tag) + "='2014:03:07 08:05:09'"));
        EXPECT_TRUE(echoed.contains("[" + QByteArray(tag) + "=2014:03:07 08:05:09]\n"));
    }
    // The tool ran on the private copy, named by a fresh upper-case UUID and the file name.
    const QRegularExpression copyArgument(
        "\\[" + QRegularExpression::escape(temporaryFolder()) +
        "/[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}-IMG_0001\\.jpg\\]\n");
    EXPECT_TRUE(copyArgument.match(QString::fromUtf8(echoed)).hasMatch()) << echoed.constData();
    EXPECT_TRUE(leftoverCopies().isEmpty());
}

TEST_F(KVDateWriterTest, HostileAndOddNamesGetTheirDatesWrittenAndRunNothing) {
    const QString names[] = {
        "$(touch MARKER).jpg",
        "`touch MARKER`.jpg",
        "a;touch MARKER;b.jpg",
        "a\";touch MARKER;\".jpg",
        "it's me'; touch MARKER; '.jpg",
        "back\\slash.jpg",
        "dollar $HOME \\n.jpg",
        "new\nline.jpg",
        "  spaced   out .jpg",
        "Ümlaut ñ 日本語.jpg",
        "-dash.jpg",
    };
    for (const QString &name : names) {
        SCOPED_TRACE(name.toStdString());
        const QString path = photo(name);
        ASSERT_FALSE(path.isEmpty());
        const KVImageFileRef file = recordOf(path);
        ASSERT_TRUE(file);
        bool succeeded = false;
        file->setCreationDate(marchSeventh(), &succeeded);
        EXPECT_TRUE(succeeded);
        EXPECT_EQ(dateTimeOriginal(path), kDateText);
        EXPECT_EQ(file->creationDate(), marchSeventh());
        EXPECT_FALSE(markerExists());
    }
    EXPECT_TRUE(leftoverCopies().isEmpty());
}

TEST_F(KVDateWriterTest, NamesTheTemplateCannotCarryAreRefusedWithoutTouchingAnyFile) {
    // Only double quotes are escaped, so read back these names would designate other files
    // (or break out of the quotes altogether).
    const struct {
        QString name;
        QString misreadAs; // what sh would make of the name, empty when it breaks the line
    } cases[] = {
        {"a\\$b.jpg", "a$b.jpg"},
        {"a\\`b.jpg", "a`b.jpg"},
        {"a\\\\b.jpg", "a\\b.jpg"},
        {"a\\\nb.jpg", "ab.jpg"},
        {"a\\\"; touch MARKER; \".jpg", ""},
        {"ends in backslash\\", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name.toStdString());
        const QString path = photo(c.name);
        ASSERT_FALSE(path.isEmpty());
        const QByteArray before = KVTest::readFile(path);
        QString decoy;
        QByteArray decoyBefore;
        if (!c.misreadAs.isEmpty()) {
            decoy = photo(c.misreadAs, "cameras/Nikon_D70.jpg");
            decoyBefore = KVTest::readFile(decoy);
        }

        StderrCapture capture;
        const int16_t status =
            KVWriteDatesWithTool(QFile::encodeName(path).constData(), kDateText, 1, 1);
        capture.finish();
        EXPECT_NE(status, 0);
        EXPECT_EQ(KVTest::readFile(path), before);
        if (!decoy.isEmpty()) {
            EXPECT_EQ(KVTest::readFile(decoy), decoyBefore);
        }
        EXPECT_FALSE(markerExists());

        // The whole write refuses too, and leaves the photo as it was.
        const KVImageFileRef file = recordOf(path);
        ASSERT_TRUE(file);
        bool succeeded = true;
        file->setCreationDate(marchSeventh(), &succeeded);
        EXPECT_FALSE(succeeded);
        EXPECT_EQ(KVTest::readFile(path), before);
        EXPECT_NE(file->creationDate(), marchSeventh());
        EXPECT_FALSE(markerExists());
        if (!decoy.isEmpty())
            QFile::remove(decoy);
    }
}

TEST_F(KVDateWriterTest, AFailingToolLeavesThePhotoAloneAndKeepsTheCopy) {
    KVSetToolPath(QFile::encodeName(fakeTool("fail", "echo 'Error: boom' >&2; exit 1")));
    const QString path = photo("Wedding 042.jpg");
    setModificationTime(path, 1300000000, 123456789);
    const QByteArray before = KVTest::readFile(path);
    const KVImageFileRef file = recordOf(path);
    ASSERT_TRUE(file);
    const QDateTime oldDate = file->creationDate();

    StderrCapture capture;
    bool succeeded = true;
    file->setCreationDate(marchSeventh(), &succeeded);
    const QByteArray echoed = capture.finish();

    EXPECT_FALSE(succeeded);
    EXPECT_EQ(KVTest::readFile(path), before);
    EXPECT_TRUE(sameTime(modificationTime(path), {1300000000, 123456789}));
    EXPECT_EQ(file->creationDate(), oldDate);
    EXPECT_TRUE(echoed.contains("\rError: boom\n")) << echoed.constData();

    const QStringList copies = leftoverCopies();
    ASSERT_EQ(copies.size(), 1);
    EXPECT_TRUE(QRegularExpression("^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}-Wedding 042\\.jpg$")
                    .match(copies[0])
                    .hasMatch())
        << copies[0].toStdString();
    EXPECT_EQ(KVTest::readFile(temporaryFolder() + "/" + copies[0]), before);
}

TEST_F(KVDateWriterTest, ExitStatusIsZeroOnlyForANormalExitWithCodeZero) {
    const QString path = photo("status.jpg");
    const struct {
        const char *name;
        QByteArray body;
        bool exited;
        int code;
    } cases[] = {
        {"exit0", "exit 0", true, 0},
        {"exit3", "exit 3", true, 3},
        {"exit255", "exit 255", true, 255},
        {"killed", "kill -KILL $$", false, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const QByteArray tool = QFile::encodeName(fakeTool(c.name, c.body));
        const int status = KVRunShellCommand("\"" + tool + "\"", nullptr, nullptr);
        ASSERT_NE(status, -1);
        EXPECT_EQ(WIFEXITED(status), c.exited);
        if (c.exited)
            EXPECT_EQ(WEXITSTATUS(status), c.code);
        else
            EXPECT_EQ(WTERMSIG(status), SIGKILL);

        KVSetToolPath(tool.constData());
        StderrCapture capture;
        const int16_t written =
            KVWriteDatesWithTool(QFile::encodeName(path).constData(), kDateText, 1, 1);
        capture.finish();
        EXPECT_EQ(written == 0, c.exited && c.code == 0);
    }

    int length = 99;
    EXPECT_EQ(KVRunShellCommand("\"/nonexistent/tool\" x", nullptr, &length), -1);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(KVRunShellCommand("x; touch MARKER", nullptr, nullptr), -1);
    EXPECT_EQ(KVRunShellCommand(nullptr, nullptr, nullptr), -1);
    EXPECT_FALSE(markerExists());
    KVSetToolPath("/nonexistent/tool");
    StderrCapture capture;
    EXPECT_NE(KVWriteDatesWithTool(QFile::encodeName(path).constData(), kDateText, 1, 1), 0);
}

TEST_F(KVDateWriterTest, ShorterRewrittenDataLeavesTheOldTail) {
    KVSetToolPath(QFile::encodeName(fakeTool("shorten", "printf 'SHORT' > \"$last\"")));
    const QString path = photo("tail.jpg");
    const QByteArray before = KVTest::readFile(path);
    const KVImageFileRef file = recordOf(path);
    ASSERT_TRUE(file);

    StderrCapture capture;
    bool succeeded = false;
    file->setCreationDate(marchSeventh(), &succeeded);
    capture.finish();

    EXPECT_TRUE(succeeded);
    const QByteArray after = KVTest::readFile(path);
    ASSERT_EQ(after.size(), before.size());
    EXPECT_EQ(after.left(5), "SHORT");
    EXPECT_EQ(after.mid(5), before.mid(5));
    EXPECT_TRUE(leftoverCopies().isEmpty());
}

TEST_F(KVDateWriterTest, LongerRewrittenDataReplacesTheWholeFileInPlace) {
    KVSetToolPath(QFile::encodeName(fakeTool("lengthen", "printf 'MORE' >> \"$last\"")));
    const QString path = photo("grow.jpg");
    const QByteArray before = KVTest::readFile(path);
    struct stat beforeInfo {};
    ::stat(QFile::encodeName(path).constData(), &beforeInfo);
    const KVImageFileRef file = recordOf(path);
    ASSERT_TRUE(file);

    StderrCapture capture;
    bool succeeded = false;
    file->setCreationDate(marchSeventh(), &succeeded);
    capture.finish();

    EXPECT_TRUE(succeeded);
    EXPECT_EQ(KVTest::readFile(path), before + "MORE");
    struct stat afterInfo {};
    ::stat(QFile::encodeName(path).constData(), &afterInfo);
    EXPECT_EQ(afterInfo.st_ino, beforeInfo.st_ino);
    EXPECT_EQ(modificationTime(path).tv_sec, marchSeventh().toSecsSinceEpoch());
}

TEST_F(KVDateWriterTest, CapturedTextIsCommandCarriageReturnAndAtMost1023Bytes) {
    // The output is written in one go: the rest is never read, and a writer still busy when
    // the pipe closes dies of SIGPIPE, as under pclose.
    const QString bulk = m_dir.filePath("bulk");
    QFile bulkFile(bulk);
    ASSERT_TRUE(bulkFile.open(QIODevice::WriteOnly));
    bulkFile.write(QByteArray(5000, 'x'));
    bulkFile.close();
    const QByteArray tool =
        QFile::encodeName(fakeTool("chatty", "exec cat '" + QFile::encodeName(bulk) + "'"));
    const QByteArray command = "\"" + tool + "\" some argument";

    char buffer[kKVOutputBufferSize];
    std::memset(buffer, 'Z', sizeof buffer);
    int length = 0;
    EXPECT_EQ(KVRunShellCommand(command.constData(), buffer, &length), 0);
    ASSERT_EQ(length, 1023);
    const QByteArray text(buffer, length);
    EXPECT_TRUE(text.startsWith(command + '\r'));
    EXPECT_EQ(text.mid(command.size() + 1), QByteArray(1023 - command.size() - 1, 'x'));
    EXPECT_EQ(buffer[1023], '\0');
    EXPECT_EQ(buffer[1024], 'Z');

    // A command line longer than the captured text is cut, the read shrinks to nothing.
    const QByteArray silent = QFile::encodeName(fakeTool("silent", "exit 0"));
    const QByteArray longCommand = "\"" + silent + "\" " + QByteArray(1500, 'a');
    std::memset(buffer, 'Z', sizeof buffer);
    EXPECT_EQ(KVRunShellCommand(longCommand.constData(), buffer, &length), 0);
    ASSERT_EQ(length, 1023);
    EXPECT_EQ(QByteArray(buffer, 1022), longCommand.left(1022));
    EXPECT_EQ(buffer[1022], '\r');
    EXPECT_EQ(buffer[1023], '\0');
    EXPECT_EQ(buffer[1024], 'Z');

    // More than the 2047 bytes a command line may have is not run.
    const QByteArray tooLong = command + " " + QByteArray(2100, 'a');
    EXPECT_EQ(KVRunShellCommand(tooLong.constData(), buffer, &length), -1);
    EXPECT_EQ(length, 0);

    // The echo for a photo is the same text and a line feed.
    KVSetToolPath(tool.constData());
    const QString path = photo("echo.jpg");
    StderrCapture capture;
    EXPECT_EQ(KVWriteDatesWithTool(QFile::encodeName(path).constData(), kDateText, 1, 1), 0);
    const QByteArray echoed = capture.finish();
    ASSERT_EQ(echoed.size(), 1024);
    EXPECT_TRUE(echoed.startsWith("\"" + tool + "\" -EXIF:ModifyDate="));
    EXPECT_EQ(echoed.count('\r'), 1);
    EXPECT_TRUE(echoed.endsWith("xxxx\n"));

    StderrCapture quiet;
    EXPECT_EQ(KVWriteDatesWithTool(QFile::encodeName(path).constData(), kDateText, 0, 1), 0);
    EXPECT_TRUE(quiet.finish().isEmpty());
}

TEST_F(KVDateWriterTest, RunShellCommandCutRunsTheHeadAndAlwaysAnswersZero) {
    const QByteArray tool =
        QFile::encodeName(fakeTool("count", "echo \"$#\"; [ \"$#\" = 1 ] || exit 1"));
    QByteArray command = "\"" + tool + "\" one two three";
    char buffer[kKVOutputBufferSize];
    int length = 0;
    EXPECT_EQ(KVRunShellCommandCut(command.data(), int(tool.size()) + 6, buffer, &length), 0);
    EXPECT_EQ(QByteArray(buffer, length), "\"" + tool + "\" one\r1\n");

    QByteArray failing = "\"" + tool + "\" one two";
    EXPECT_EQ(KVRunShellCommandCut(failing.data(), 100000, buffer, &length), 0);
    EXPECT_EQ(QByteArray(buffer, length), failing + "\r2\n");
    EXPECT_EQ(KVRunShellCommandCut(failing.data(), -5, nullptr, nullptr), 0);
}

TEST_F(KVDateWriterTest, OverLongPathsAndCommandLinesFailCleanly) {
    // A folder deep enough that the photo's path passes the 1023 bytes of its buffer.
    QString deep = m_dir.filePath("deep");
    while (deep.size() < 1100)
        deep += "/" + QString(60, 'd');
    ASSERT_TRUE(QDir().mkpath(deep));
    const QString longPath = deep + "/long.jpg";
    ASSERT_TRUE(QFile::copy(KVTest::samplePath("cameras/Canon_40D.jpg"), longPath));
    const QByteArray before = KVTest::readFile(longPath);
    EXPECT_GT(QFile::encodeName(longPath).size(), 1023);
    StderrCapture capture;
    EXPECT_NE(KVWriteDatesWithTool(QFile::encodeName(longPath).constData(), kDateText, 1, 1), 0);

    // A path that fits on its own but not with a long tool path in the 2047-byte line.
    const QString path = photo(QString(200, 'n') + ".jpg");
    KVSetToolPath(("/" + std::string(1900, 't')).c_str());
    EXPECT_NE(KVWriteDatesWithTool(QFile::encodeName(path).constData(), kDateText, 1, 1), 0);
    KVSetToolPath(KALVORA_EXIFTOOL);

    // The whole write: the copy lands in a temporary folder so deep that its path is too long.
    const QString shortPhoto = photo("short.jpg");
    const QByteArray shortBefore = KVTest::readFile(shortPhoto);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(deep));
    const KVImageFileRef file = recordOf(shortPhoto);
    ASSERT_TRUE(file);
    bool succeeded = true;
    file->setCreationDate(marchSeventh(), &succeeded);
    capture.finish();
    EXPECT_FALSE(succeeded);
    EXPECT_EQ(KVTest::readFile(shortPhoto), shortBefore);
    EXPECT_EQ(KVTest::readFile(longPath), before);
}

TEST_F(KVDateWriterTest, RealRunWritesAllSixTagsAndTheModificationDate) {
    const char *const samples[] = {"cameras/Canon_40D.jpg", "cameras/Nikon_D70.jpg", "raw/DNG.dng",
                                   "raw/CanonRaw.cr2"};
    for (const char *sample : samples) {
        SCOPED_TRACE(sample);
        const QString path = photo(QFileInfo(sample).fileName(), sample);
        const KVImageFileRef file = recordOf(path);
        ASSERT_TRUE(file);
        ASSERT_NE(file->creationDate(), marchSeventh());

        bool succeeded = false;
        StderrCapture capture;
        file->setCreationDate(marchSeventh(), &succeeded);
        capture.finish();
        EXPECT_TRUE(succeeded);

        const QJsonObject dates = allDates(path);
        for (const char *tag : kWrittenTags)
            EXPECT_EQ(dates.value(tag).toString(), kDateText) << tag;
        EXPECT_TRUE(sameTime(modificationTime(path), {marchSeventh().toSecsSinceEpoch(), 0}));
        EXPECT_EQ(file->creationDate(), marchSeventh());
        // A fresh reader agrees with the record.
        const KVImageFileRef reread = recordOf(path);
        ASSERT_TRUE(reread);
        EXPECT_EQ(reread->creationDate(), marchSeventh());
    }
    EXPECT_TRUE(leftoverCopies().isEmpty());
}

TEST_F(KVDateWriterTest, ParallelWritesKeepTheirOwnCopies) {
    // Photos of one name in different folders, each with its own date: a copy written back
    // into the wrong photo shows.
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
            files[i]->setCreationDate(marchSeventh().addSecs(i * 3600), &succeeded);
            results[i] = succeeded;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    capture.finish();
    for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(results[i]);
        EXPECT_EQ(dateTimeOriginal(files[i]->path()),
                  marchSeventh().addSecs(i * 3600).toLocalTime().toString("yyyy:MM:dd HH:mm:ss"));
    }
    EXPECT_TRUE(leftoverCopies().isEmpty());
}

TEST_F(KVDateWriterTest, AForeignTemporaryFolderIsNeverWrittenInto) {
    const QString elsewhere = m_dir.filePath("elsewhere");
    QDir().mkpath(elsewhere);
    const struct {
        const char *what;
        std::function<bool(const QString &)> plant;
    } cases[] = {
        {"symbolic link", [&](const QString &folder) { return QFile::link(elsewhere, folder); }},
        {"regular file",
         [](const QString &folder) { return QFile(folder).open(QIODevice::WriteOnly); }},
        // Only the superuser can give a folder away; for anyone else the case is left out.
        {"another user's folder",
         [](const QString &folder) {
             return QDir().mkpath(folder) &&
                    ::chown(QFile::encodeName(folder).constData(), 65534, 65534) == 0;
         }},
    };
    KVSetToolPath(QFile::encodeName(fakeTool("touch", "touch \"$last\"")));
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        QFile::remove(temporaryFolder());
        QDir(temporaryFolder()).removeRecursively();
        if (!c.plant(temporaryFolder()))
            continue;
        const QString path = photo("guest.jpg");
        const QByteArray before = KVTest::readFile(path);
        const KVImageFileRef file = recordOf(path);
        ASSERT_TRUE(file);

        StderrCapture capture;
        bool succeeded = true;
        file->setCreationDate(marchSeventh(), &succeeded);
        capture.finish();
        EXPECT_FALSE(succeeded);
        EXPECT_EQ(KVTest::readFile(path), before);
        EXPECT_TRUE(QDir(elsewhere).isEmpty());
        EXPECT_TRUE(QFileInfo(temporaryFolder()).isSymLink() ||
                    !QFileInfo(temporaryFolder()).isDir() || QDir(temporaryFolder()).isEmpty());
    }
}

TEST_F(KVDateWriterTest, TheTemporaryFolderIsMadePrivate) {
    QDir().mkpath(temporaryFolder());
    ::chmod(QFile::encodeName(temporaryFolder()).constData(), 0777);
    const int fd = KVOpenTemporaryFolder();
    ASSERT_NE(fd, -1);
    ::close(fd);
    struct stat info {};
    ::stat(QFile::encodeName(temporaryFolder()).constData(), &info);
    EXPECT_EQ(info.st_mode & 07777, 0700u);

    // Without a runtime folder the copies go below the temporary path.
    qunsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(KVTemporaryFolderPath(), QDir::tempPath() + "/org.kalvora.Kalvora");
}

TEST_F(KVDateWriterTest, WithoutACopyTheWriteAnswersSuccessAndDoesNothing) {
    // The temporary folder cannot be made below a regular file, so no copy comes to exist.
    const QString blocker = m_dir.filePath("blocker");
    QFile(blocker).open(QIODevice::WriteOnly);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(blocker + "/runtime"));
    KVSetToolPath(QFile::encodeName(fakeTool("touch", "touch MARKER \"$last\"")));
    const QString path = photo("nocopy.jpg");
    setModificationTime(path, 1300000000);
    const QByteArray before = KVTest::readFile(path);
    const KVImageFileRef file = recordOf(path);
    ASSERT_TRUE(file);

    StderrCapture capture;
    bool succeeded = false;
    file->setCreationDate(marchSeventh(), &succeeded);
    capture.finish();
    EXPECT_TRUE(succeeded);
    EXPECT_EQ(KVTest::readFile(path), before);
    EXPECT_TRUE(sameTime(modificationTime(path), {1300000000, 0}));
    EXPECT_FALSE(markerExists());
}

TEST_F(KVDateWriterTest, RecordsWithoutAFileOrWithoutADateAreRefused) {
    bool succeeded = true;
    StderrCapture capture;
    KVImageFile::initWithDate(marchSeventh())->setCreationDate(marchSeventh(), &succeeded);
    EXPECT_FALSE(succeeded);

    const QString path = photo("invalid.jpg");
    const QByteArray before = KVTest::readFile(path);
    const KVImageFileRef file = recordOf(path);
    ASSERT_TRUE(file);
    succeeded = true;
    file->setCreationDate(QDateTime(), &succeeded);
    EXPECT_FALSE(succeeded);
    EXPECT_EQ(KVTest::readFile(path), before);
    file->setCreationDate(marchSeventh(), nullptr);
    EXPECT_EQ(dateTimeOriginal(path), kDateText);
}

TEST_F(KVDateWriterTest, FileDatesAreSecondsSince1904AndOnlyTheModificationDateIsSet) {
    const QString path = photo("dates.jpg");
    const QByteArray native = QFile::encodeName(path);
    setModificationTime(path, 1394175909, 750000000);

    uint32_t creation = 1;
    uint32_t modification = 1;
    EXPECT_EQ(KVGetFileDates(native.constData(), &creation, &modification), 0);
    EXPECT_EQ(modification, uint32_t(1394175909 + kSecondsFrom1904To1970));
    const uint32_t birth = creation;

    // Restoring drops the fraction of a second.
    EXPECT_EQ(KVSetFileDates(native.constData(), 5, modification, 1), 0);
    EXPECT_TRUE(sameTime(modificationTime(path), {1394175909, 0}));
    EXPECT_EQ(KVSetFileDates(native.constData(), 5, modification + 100, 0), 0);
    EXPECT_TRUE(sameTime(modificationTime(path), {1394175909, 0}));
    EXPECT_EQ(KVGetFileDates(native.constData(), &creation, nullptr), 0);
    EXPECT_EQ(creation, birth);

    // Before 1904 or past 2040 the count stops at its ends.
    setModificationTime(path, -kSecondsFrom1904To1970 - 10);
    EXPECT_EQ(KVGetFileDates(native.constData(), nullptr, &modification), 0);
    EXPECT_EQ(modification, 0u);
    setModificationTime(path, 4000000000);
    EXPECT_EQ(KVGetFileDates(native.constData(), nullptr, &modification), 0);
    EXPECT_EQ(modification, UINT32_MAX);

    const QByteArray missing = QFile::encodeName(m_dir.filePath("missing.jpg"));
    EXPECT_EQ(KVGetFileDates(missing.constData(), &creation, &modification), ENOENT);
    EXPECT_EQ(creation, 0u);
    EXPECT_EQ(modification, 0u);
    EXPECT_EQ(KVSetFileDates(missing.constData(), 1, 1, 1), ENOENT);
    EXPECT_FALSE(QFileInfo::exists(m_dir.filePath("missing.jpg")));
}

TEST_F(KVDateWriterTest, TheToolRunRestoresTheDatesOfTheFileItWorkedOn) {
    KVSetToolPath(QFile::encodeName(fakeTool("touch", "touch \"$last\"")));
    const QString path = photo("restore.jpg");
    const QByteArray native = QFile::encodeName(path);
    StderrCapture capture;

    setModificationTime(path, 1262304000, 500);
    EXPECT_EQ(KVWriteDatesWithTool(native.constData(), kDateText, 0, 1), 0);
    EXPECT_TRUE(sameTime(modificationTime(path), {1262304000, 0}));

    setModificationTime(path, 1262304000, 500);
    EXPECT_EQ(KVWriteDatesWithTool(native.constData(), kDateText, 0, 0), 0);
    EXPECT_GT(modificationTime(path).tv_sec, 1262304000);
}

TEST_F(KVDateWriterTest, AToolThatFloodsThePipeEndsAndCountsAsFailed) {
    // More than the pipe holds: once the captured text is full the pipe is closed, and the
    // tool, still writing, ends by SIGPIPE instead of blocking the writer forever.
    const QByteArray tool = QFile::encodeName(fakeTool("flood", "exec head -c 1000000 /dev/zero"));
    char buffer[kKVOutputBufferSize];
    int length = 0;
    const int status = KVRunShellCommand("\"" + tool + "\"", buffer, &length);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGPIPE);
    EXPECT_EQ(length, 1023);

    KVSetToolPath(tool.constData());
    const QString path = photo("flood.jpg");
    const QByteArray before = KVTest::readFile(path);
    const KVImageFileRef file = recordOf(path);
    ASSERT_TRUE(file);
    StderrCapture capture;
    bool succeeded = true;
    file->setCreationDate(marchSeventh(), &succeeded);
    capture.finish();
    EXPECT_FALSE(succeeded);
    EXPECT_EQ(KVTest::readFile(path), before);
}

TEST_F(KVDateWriterTest, VerboseLoggingNamesTheCopyAndTheToolCall) {
    KVSetToolPath(QFile::encodeName(fakeTool("quiet", "exit 0")));
    const KVImageFileRef file = recordOf(photo("verbose.jpg"));
    ASSERT_TRUE(file);
    KVUserDefaults &defaults = KVUserDefaults::standardUserDefaults();
    const struct { bool verbose; } cases[] = {{true}, {false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.verbose);
        defaults.setBool(c.verbose, KVUserDefaults::verboseLoggingKey);
        StderrCapture capture;
        bool succeeded = false;
        file->setCreationDate(marchSeventh(), &succeeded);
        const QString logged = QString::fromUtf8(capture.finish());
        EXPECT_TRUE(succeeded);
        const QRegularExpression copyLine(
            "^\\[Kalvora\\] Creating temporary copy at " +
                QRegularExpression::escape(temporaryFolder()) +
                "/[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}-verbose\\.jpg$",
            QRegularExpression::MultilineOption);
        EXPECT_EQ(copyLine.match(logged).hasMatch(), c.verbose) << logged.toStdString();
        EXPECT_EQ(logged.contains("[Kalvora] Calling ExifTool\n"), c.verbose);
        // The tool's captured text is echoed either way.
        EXPECT_TRUE(logged.contains("-overwrite_original_in_place"));
    }
    defaults.setBool(false, KVUserDefaults::verboseLoggingKey);
}
