// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

// One raw inotify event, its name decoded from the file system's encoding.
struct KVInotifyEvent {
    int wd = -1;
    uint32_t mask = 0;
    uint32_t cookie = 0;
    QString name;
};

// An inotify instance read by a thread of its own (private helper of KVFileCoordinator).
// The thread hands every batch of events it read to the handler; the handler answers how long
// the thread may then sleep before it calls the handler again with an empty batch (a negative
// duration: until the next event). stop() wakes the thread through an eventfd and joins it.
class KVInotifyWatcher {
public:
    using Handler = std::function<std::chrono::milliseconds(const std::vector<KVInotifyEvent> &)>;

    explicit KVInotifyWatcher(Handler handler);
    ~KVInotifyWatcher();
    KVInotifyWatcher(const KVInotifyWatcher &) = delete;
    KVInotifyWatcher &operator=(const KVInotifyWatcher &) = delete;

    // False when the kernel refused an inotify instance or an eventfd.
    bool isValid() const { return m_inotifyFd >= 0 && m_wakeFd >= 0; }
    // Starts the reading thread once; later calls do nothing, and so does a call after stop().
    void start();
    // Wakes and joins the reading thread. Never call it from the handler.
    void stop();

    // Watches the folder at `path`. Returns the watch descriptor, or -1 (errno set). A folder
    // already watched (also through another path) gives back its existing watch descriptor.
    int addWatch(const QString &path, uint32_t mask);
    void removeWatch(int wd);

private:
    void run();
    // Reads every event waiting now; false when the inotify descriptor failed.
    bool readEvents(std::vector<KVInotifyEvent> &events);

    Handler m_handler;
    int m_inotifyFd = -1;
    int m_wakeFd = -1;
    std::thread m_thread;
    bool m_stopped = false; // start() and stop() are serialised by the caller
};
