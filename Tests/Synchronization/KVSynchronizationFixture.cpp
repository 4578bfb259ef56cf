#include "KVSynchronizationFixture.h"

#include "KVChildProcess.h"
#include "KVDateWriter.h"
#include "KVTestSupport.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <chrono>
#include <string>

namespace {

const QString dateFormat = QStringLiteral("yyyy:MM:dd HH:mm:ss");

// Small samples that carry a capture date.
const QStringList dated = {
    QStringLiteral("cameras/Canon_40D.jpg"),
    QStringLiteral("cameras/Olympus_C8080WZ.jpg"),
    QStringLiteral("cameras/Sony_HDR-HC3.jpg"),
    QStringLiteral("cameras/Fujifilm_FinePix6900ZOOM.jpg"),
    QStringLiteral("cameras/Ricoh_Caplio_RR330.jpg"),
    QStringLiteral("cameras/Nikon_D70.jpg"),
};

} // namespace

void KVSynchronizationFixture::SetUp() {
    ASSERT_TRUE(m_folder.isValid());
    // The writer's temporary copies (kept after a failed run) stay inside the test's folder.
    m_savedRuntimeDir = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder.filePath(QStringLiteral("runtime"))));
    QDir().mkpath(m_folder.filePath(QStringLiteral("runtime")));
    useTool(QStringLiteral(KALVORA_EXIFTOOL));
}

void KVSynchronizationFixture::TearDown() {
    openGate();
    if (m_gateOpener.joinable())
        m_gateOpener.join();
    if (m_savedRuntimeDir.isNull())
        qunsetenv("XDG_RUNTIME_DIR");
    else
        qputenv("XDG_RUNTIME_DIR", m_savedRuntimeDir);
    useTool(QStringLiteral(KALVORA_EXIFTOOL));
}

std::vector<KVImageFileRef> KVSynchronizationFixture::makePhotos(int count, const QString &prefix) {
    const QString folder = m_folder.filePath(QStringLiteral("photos"));
    QDir().mkpath(folder);
    std::vector<KVImageFileRef> photos;
    for (int i = 0; i < count; ++i) {
        const QString sample = KVTest::samplePath(dated.at(i % dated.size()));
        const QString target = QStringLiteral("%1/%2%3-%4")
                                   .arg(folder, prefix)
                                   .arg(i, 2, 10, QLatin1Char('0'))
                                   .arg(QFileInfo(sample).fileName());
        if (!QFile::copy(sample, target))
            return {};
        QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner);
        KVImageFileRef photo = KVImageFile::initWithURL(QUrl::fromLocalFile(target));
        if (!photo)
            return {};
        photos.push_back(photo);
    }
    return photos;
}

QString KVSynchronizationFixture::writeTool(const QString &name, const QString &script) {
    const QString path = m_folder.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return {};
    file.write(script.toUtf8());
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

void KVSynchronizationFixture::useTool(const QString &path) {
    KVSetToolPath(QFile::encodeName(path).constData());
}

QString KVSynchronizationFixture::gatedTool(int passing) {
    const QString tickets = m_folder.filePath(QStringLiteral("tickets"));
    QDir().mkpath(tickets);
    // mkdir is atomic, so concurrent runs each draw their own ticket number.
    return writeTool(QStringLiteral("gated-tool"),
                     QStringLiteral("#!/bin/sh\n"
                                    "gate='%1'\n"
                                    "if [ -e \"$gate\" ]; then exec '%2' \"$@\"; fi\n"
                                    "i=0\n"
                                    "while ! mkdir '%3'/$i 2>/dev/null; do i=$((i+1)); done\n"
                                    "if [ $i -lt %4 ]; then exec '%2' \"$@\"; fi\n"
                                    // A failed test never leaves a run hanging for good.
                                    "n=0\n"
                                    "while [ ! -e \"$gate\" ] && [ $n -lt 6000 ]; do\n"
                                    "    sleep 0.01; n=$((n+1))\n"
                                    "done\n"
                                    "echo 'refused by the test' >&2\n"
                                    "exit 1\n")
                         .arg(m_folder.filePath(QStringLiteral("gate")),
                              QStringLiteral(KALVORA_EXIFTOOL), tickets)
                         .arg(passing));
}

void KVSynchronizationFixture::openGate() {
    QFile gate(m_folder.filePath(QStringLiteral("gate")));
    if (!gate.exists() && gate.open(QIODevice::WriteOnly))
        gate.close();
}

int KVSynchronizationFixture::gatedRunCount() const {
    return static_cast<int>(QDir(m_folder.filePath(QStringLiteral("tickets")))
                                .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                                .size());
}

void KVSynchronizationFixture::openGateWhen(std::function<bool()> condition) {
    m_gateOpener = std::thread([this, condition = std::move(condition)] {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!condition() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        openGate();
    });
}

QMap<QString, QString>
KVSynchronizationFixture::diskDates(const std::vector<KVImageFileRef> &photos) {
    // Started the way the writer starts the tool: a forking QProcess is not welcome under
    // ThreadSanitizer once worker threads exist.
    std::vector<std::string> arguments{KALVORA_EXIFTOOL, "-j", "-EXIF:DateTimeOriginal"};
    for (const KVImageFileRef &photo : photos)
        arguments.push_back(QFile::encodeName(photo->path()).toStdString());
    KVChildProcess tool;
    QByteArray output;
    if (tool.start(arguments)) {
        char buffer[4096];
        while (const size_t got = tool.read(buffer, sizeof buffer))
            output.append(buffer, static_cast<qsizetype>(got));
        tool.wait();
    }
    QMap<QString, QString> dates;
    // Warnings of the tool come before the JSON on the merged output.
    const QJsonArray entries = QJsonDocument::fromJson(output.mid(output.indexOf('['))).array();
    for (const QJsonValue &entry : entries) {
        const QJsonObject object = entry.toObject();
        dates.insert(object.value(QStringLiteral("SourceFile")).toString(),
                     object.value(QStringLiteral("DateTimeOriginal")).toString());
    }
    return dates;
}

QString KVSynchronizationFixture::shifted(const QString &dateText, double seconds) {
    return QDateTime::fromString(dateText, dateFormat)
        .addSecs(static_cast<qint64>(seconds))
        .toString(dateFormat);
}

QMap<QString, QString> KVSynchronizationFixture::shiftedDates(const QMap<QString, QString> &dates,
                                                              double seconds) {
    QMap<QString, QString> result;
    for (auto it = dates.begin(); it != dates.end(); ++it)
        result.insert(it.key(), shifted(it.value(), seconds));
    return result;
}

QMap<QString, QByteArray>
KVSynchronizationFixture::contents(const std::vector<KVImageFileRef> &photos) {
    QMap<QString, QByteArray> result;
    for (const KVImageFileRef &photo : photos)
        result.insert(photo->path(), KVTest::readFile(photo->path()));
    return result;
}
