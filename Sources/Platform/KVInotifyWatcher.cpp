// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVInotifyWatcher.h"

#include "KVFileName.h"

#include <QByteArray>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

KVInotifyWatcher::KVInotifyWatcher(Handler handler)
    : m_handler(std::move(handler))
    , m_inotifyFd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , m_wakeFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
}

KVInotifyWatcher::~KVInotifyWatcher() {
    stop();
    if (m_inotifyFd >= 0)
        close(m_inotifyFd);
    if (m_wakeFd >= 0)
        close(m_wakeFd);
}

void KVInotifyWatcher::start() {
    if (!isValid() || m_thread.joinable() || m_stopped)
        return;
    m_thread = std::thread([this] { run(); });
}

void KVInotifyWatcher::stop() {
    m_stopped = true;
    if (!m_thread.joinable())
        return;
    const uint64_t one = 1;
    while (write(m_wakeFd, &one, sizeof one) < 0 && errno == EINTR) {
    }
    m_thread.join();
}

int KVInotifyWatcher::addWatch(const QString &path, uint32_t mask) {
    if (m_inotifyFd < 0) {
        errno = EBADF;
        return -1;
    }
    return inotify_add_watch(m_inotifyFd, KVFileName::encode(path).constData(), mask);
}

void KVInotifyWatcher::removeWatch(int wd) {
    if (m_inotifyFd >= 0 && wd >= 0)
        inotify_rm_watch(m_inotifyFd, wd);
}

bool KVInotifyWatcher::readEvents(std::vector<KVInotifyEvent> &events) {
    alignas(struct inotify_event) char buffer[64 * 1024];
    for (;;) {
        const ssize_t length = read(m_inotifyFd, buffer, sizeof buffer);
        if (length < 0) {
            if (errno == EINTR)
                continue;
            return errno == EAGAIN || errno == EWOULDBLOCK;
        }
        if (length == 0)
            return false;
        for (ssize_t offset = 0; offset < length;) {
            const auto *raw = reinterpret_cast<const struct inotify_event *>(buffer + offset);
            KVInotifyEvent event;
            event.wd = raw->wd;
            event.mask = raw->mask;
            event.cookie = raw->cookie;
            if (raw->len > 0)
                event.name =
                    KVFileName::decode(QByteArray(raw->name, strnlen(raw->name, raw->len)));
            events.push_back(std::move(event));
            offset += static_cast<ssize_t>(sizeof(struct inotify_event) + raw->len);
        }
    }
}

void KVInotifyWatcher::run() {
    std::chrono::milliseconds timeout(-1);
    for (;;) {
        pollfd descriptors[2] = {{m_inotifyFd, POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
        const int timeoutMs = timeout.count() < 0 ? -1 : static_cast<int>(timeout.count());
        const int ready = poll(descriptors, 2, timeoutMs);
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (descriptors[1].revents != 0)
            return;
        std::vector<KVInotifyEvent> events;
        const bool readable = descriptors[0].revents == 0 || readEvents(events);
        timeout = m_handler(events);
        if (!readable)
            return;
    }
}
