// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVPhotoWriterFixture.h"

#include "KVDateTags.h"
#include "KVImageSource.h"
#include "KVPhotoWriter.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

QString KVPhotoWriterFixture::copyOf(const QString &sample, const QString &name) {
    QDir().mkpath(m_folder);
    const QString target = m_folder + "/" + name;
    QFile::remove(target);
    EXPECT_TRUE(QFile::copy(KVTest::samplePath(sample), target)) << name.toStdString();
    QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner);
    return target;
}

void KVPhotoWriterFixture::setDate(const QString &path, const QString &dateText) {
    ASSERT_TRUE(KVTest::writeExif(path, {{"Exif.Photo.DateTimeOriginal", dateText}}));
}

bool KVPhotoWriterFixture::decodes(const QString &path) {
    std::unique_ptr<KVImageSource> source = KVImageSource::createWithPath(path);
    if (!source || !source->copyPropertiesAtIndex0())
        return false;
    // The raw samples hold no picture; every other one must still decode.
    const QString suffix = QFileInfo(path).suffix().toLower();
    const bool hasPicture = suffix == "jpg" || suffix == "tiff";
    return !hasPicture || !source->createImage().isNull();
}

unsigned KVPhotoWriterFixture::modeOf(const QString &path) {
    struct stat info {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info.st_mode & 07777;
}

QStringList KVPhotoWriterFixture::hiddenEntries() const {
    QStringList found;
    QDirIterator it(m_dir.path(),
                    QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (it.fileName().startsWith('.'))
            found.append(path);
    }
    return found;
}

void KVPhotoWriterFixture::TearDown() {
    for (const QString &mount : m_mounts)
        KVTest::runProgram("umount", {"-l", mount});
}

QString KVPhotoWriterFixture::mountTmpfs(const QString &name, const QString &size) {
    const QString path = m_dir.filePath(name);
    QDir().mkpath(path);
    if (::geteuid() != 0 ||
        KVTest::runProgram("mount", {"-t", "tmpfs", "-o", "size=" + size, "tmpfs", path}) != 0)
        return {};
    m_mounts << path;
    return path;
}

void KVPhotoWriterFixture::expectOldOrExactlyShifted(const QString &photo,
                                                     const QByteArray &oldBytes,
                                                     const QString &oldDate, qint64 seconds,
                                                     const KVWriteOutcome &outcome) {
    SCOPED_TRACE(photo.toStdString());
    const QByteArray bytes = KVTest::readFile(photo);
    if (bytes == oldBytes) {
        EXPECT_FALSE(outcome.changed());
        EXPECT_FALSE(outcome.reason.isEmpty());
        return;
    }
    EXPECT_TRUE(outcome.changed()) << outcome.reason.toStdString();
    const std::optional<KVDateTags> tags = KVDateTags::read(photo);
    ASSERT_TRUE(tags);
    EXPECT_TRUE(tags->allAre(KVDateTags::shifted(oldDate, seconds)));
    EXPECT_TRUE(decodes(photo));
}

QString KVPhotoWriterFixture::fakeTool(const QString &behaviour) {
    QDir().mkpath(m_gates);
    // A fifo nobody ever writes to: reading it blocks for good.
    ::mkfifo(QFile::encodeName(m_gates + "/never").constData(), 0600);
    QString snippet;
    if (behaviour == "hang-first")
        snippet =
            QString(
                R"(if [ ! -e '%1/hanging' ]; then echo $$ > '%1/t'; mv '%1/t' '%1/hanging'; read x < '%1/never'; fi)")
                .arg(m_gates);
    else if (behaviour.startsWith("die-at-"))
        snippet = QString(R"(if [ $n = %1 ]; then kill -KILL $$; fi)").arg(behaviour.mid(7));
    return KVTest::writeFakeTool(m_dir.filePath("tool-" + behaviour), snippet);
}

bool KVPhotoWriterFixture::gateExists(const QString &name) const {
    return QFileInfo::exists(m_gates + "/" + name);
}

pid_t KVPhotoWriterFixture::readPid(const QString &name) const {
    return static_cast<pid_t>(KVTest::readFile(m_gates + "/" + name).trimmed().toLong());
}

void KVPhotoWriterFixture::clearGates() {
    QDir(m_gates).removeRecursively();
    QDir().mkpath(m_gates);
}
