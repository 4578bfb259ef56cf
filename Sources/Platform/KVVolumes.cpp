// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVVolumes.h"

#include "KVDispatch.h"
#include "KVFileName.h"

#include <QFile>
#include <QSet>

#include <atomic>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

// mountinfo escapes blanks, tabs, newlines and backslashes as three octal digits.
QString unescapeMountPath(const QByteArray &field) {
    QByteArray path;
    path.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            bool ok = false;
            const int value = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok) {
                path += char(value);
                i += 3;
                continue;
            }
        }
        path += field[i];
    }
    return KVFileName::decode(path);
}

bool isHiddenVolume(const QString &path, const QString &type) {
    // Plain literals, not a container: the watching thread may still ask while statics are
    // being destroyed at exit.
    static constexpr const char *pseudoTypes[] = {
        "proc",      "sysfs",   "cgroup",      "cgroup2", "devpts",   "devtmpfs",   "mqueue",
        "debugfs",   "tracefs", "securityfs",  "pstore",  "bpf",      "configfs",   "fusectl",
        "hugetlbfs", "autofs",  "binfmt_misc", "nsfs",    "efivarfs", "rpc_pipefs",
    };
    for (const char *pseudo : pseudoTypes) {
        if (type == QLatin1String(pseudo))
            return true;
    }
    for (const char *system : {"/proc", "/sys", "/dev", "/run"}) {
        const QLatin1String prefix(system);
        if (path == prefix || (path.startsWith(prefix) && path.size() > prefix.size() &&
                               path[prefix.size()] == QLatin1Char('/')))
            return true;
    }
    return false;
}

std::vector<KVMountedVolume> parseMountInfo(const QByteArray &text) {
    std::vector<KVMountedVolume> volumes;
    for (const QByteArray &line : text.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype separator = fields.indexOf("-");
        if (fields.size() < 5 || separator < 0 || separator + 1 >= fields.size())
            continue;
        KVMountedVolume volume;
        volume.path = unescapeMountPath(fields[4]);
        volume.type = QString::fromLatin1(fields[separator + 1]);
        volume.isHidden = isHiddenVolume(volume.path, volume.type);
        volumes.push_back(volume);
    }
    return volumes;
}

QByteArray readMountInfo(int fd) {
    QByteArray text;
    char buffer[8192];
    ::lseek(fd, 0, SEEK_SET);
    for (;;) {
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count <= 0)
            break;
        text.append(buffer, count);
    }
    return text;
}

class UnmountWatcher {
public:
    static UnmountWatcher &shared() {
        // Never destroyed: the watching thread may outlive every other static.
        static UnmountWatcher *watcher = new UnmountWatcher;
        return *watcher;
    }

    void setHandler(std::function<void(const QString &)> handler) {
        std::lock_guard lock(m_mutex);
        m_handler = std::move(handler);
        if (m_started)
            return;
        m_started = true;
        const int fd = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            return;
        // The first picture of the table is taken here, before the caller goes on: a volume
        // mounted before this call is in it however late the thread gets to run.
        QSet<QString> mounted;
        for (const KVMountedVolume &volume : parseMountInfo(readMountInfo(fd)))
            mounted.insert(volume.path);
        std::thread([this, fd, mounted] { watch(fd, mounted); }).detach();
    }

private:
    void watch(int fd, QSet<QString> mounted) {
        for (;;) {
            // The kernel flags the table with POLLPRI whenever a mount comes or goes.
            pollfd watched{fd, POLLPRI, 0};
            if (::poll(&watched, 1, -1) < 0)
                continue;
            QSet<QString> now;
            for (const KVMountedVolume &volume : parseMountInfo(readMountInfo(fd)))
                now.insert(volume.path);
            const QSet<QString> gone = mounted - now;
            mounted = now;
            std::function<void(const QString &)> handler;
            {
                std::lock_guard lock(m_mutex);
                handler = m_handler;
            }
            if (!handler)
                continue;
            for (const QString &path : gone)
                KVDispatchMain([handler, path] { handler(path); });
        }
    }

    std::mutex m_mutex;
    std::function<void(const QString &)> m_handler;
    bool m_started = false;
};

} // namespace

namespace KVVolumes {

std::vector<KVMountedVolume> mountedVolumes() {
    QFile file(QStringLiteral("/proc/self/mountinfo"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return parseMountInfo(file.readAll());
}

std::optional<qint64> freeSize(const QString &path) {
    struct statvfs info {};
    if (::statvfs(KVFileName::encode(path).constData(), &info) != 0)
        return std::nullopt;
    return qint64(info.f_bavail) * qint64(info.f_frsize);
}

bool isWritable(const QString &path) {
    return ::faccessat(AT_FDCWD, KVFileName::encode(path).constData(), W_OK, AT_EACCESS) == 0;
}

void setUnmountHandler(std::function<void(const QString &devicePath)> handler) {
    UnmountWatcher::shared().setHandler(std::move(handler));
}

} // namespace KVVolumes
