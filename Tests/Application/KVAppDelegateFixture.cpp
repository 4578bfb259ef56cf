// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAppDelegateFixture.h"

#include "KVChildProcess.h"
#include "KVPhotoWriter.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

void KVAppDelegateFixture::SetUp() {
    ASSERT_TRUE(m_root.isValid());
    m_savedRuntimeDir = qgetenv("XDG_RUNTIME_DIR");
    m_savedDataHome = qgetenv("XDG_DATA_HOME");
    m_savedStateHome = qgetenv("XDG_STATE_HOME");
    QDir().mkpath(m_root.filePath("runtime"));
    QDir().mkpath(m_root.filePath("data/Trash/files"));
    qputenv("XDG_RUNTIME_DIR", m_root.filePath("runtime").toUtf8());
    qputenv("XDG_DATA_HOME", m_root.filePath("data").toUtf8());
    // The runs' journals too: a run a test left open is never offered to the next one.
    qputenv("XDG_STATE_HOME", m_root.filePath("state").toUtf8());
    m_delegate = std::make_unique<KVAppDelegate>(&m_ui);
    m_delegate->awakeFromNib();
    m_delegate->applicationDidFinishLaunching(QStringLiteral(KALVORA_BUNDLE_DIR));
    KVSetToolPath(KALVORA_EXIFTOOL);
}

void KVAppDelegateFixture::TearDown() {
    if (m_delegate) {
        m_delegate->waitForDiskRecovery();
        waitForRunToEnd();
    }
    m_delegate.reset();
    KVImageFile::setRemovalHandler(nullptr);
    KVSetToolPath(KALVORA_EXIFTOOL);
    qputenv("XDG_RUNTIME_DIR", m_savedRuntimeDir);
    qputenv("XDG_DATA_HOME", m_savedDataHome);
    qputenv("XDG_STATE_HOME", m_savedStateHome);
}

QString KVAppDelegateFixture::makePhoto(const QString &folder, const QString &name,
                                        const QString &sample, const QString &date) {
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + name;
    QFile::remove(path);
    EXPECT_TRUE(QFile::copy(KVTest::samplePath(sample), path));
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_TRUE(KVTest::writeExif(path, {{"Exif.Photo.DateTimeOriginal", date}}));
    return path;
}

void KVAppDelegateFixture::add(const QStringList &paths) {
    const int reloads = m_ui.browserReloadCount();
    m_delegate->cameraSets().openFiles(paths);
    ASSERT_TRUE(KVTest::waitFor([&] { return m_ui.browserReloadCount() > reloads; }));
}

KVImageFileRef KVAppDelegateFixture::photo(const QString &path) const {
    for (int i = 0; i < m_delegate->numberOfCamerasInBrowser(); ++i) {
        for (const KVImageFileRef &file : m_delegate->cameraSets().imagesForCameraWithIndex(i)) {
            if (file->path() == path)
                return file;
        }
    }
    return nullptr;
}

QString KVAppDelegateFixture::dateOnDisk(const QString &path) {
    return KVTest::readExif(path, "Exif.Photo.DateTimeOriginal");
}

bool KVAppDelegateFixture::waitForRunToEnd() {
    return KVTest::waitFor(
        [&] {
            KVOperationQueue &queue = m_delegate->syncQueue();
            return !queue.isSynchronizationInProcess() && queue.operationCount() == 0;
        },
        std::chrono::seconds(60));
}

bool KVAppDelegateFixture::run(const QString &program, const QStringList &arguments) {
    // Started without fork(), which ThreadSanitizer refuses in a process with threads.
    std::vector<std::string> words{program.toStdString()};
    for (const QString &argument : arguments)
        words.push_back(argument.toStdString());
    KVChildProcess process;
    if (!process.start(words))
        return false;
    char buffer[512];
    while (process.read(buffer, sizeof buffer) == sizeof buffer) {
    }
    return process.wait() == 0;
}

bool KVAppDelegateFixture::canMount() {
    QTemporaryDir probe;
    if (!run("mount", {"-t", "tmpfs", "-o", "size=1m", "tmpfs", probe.path()}))
        return false;
    run("umount", {probe.path()});
    return true;
}
