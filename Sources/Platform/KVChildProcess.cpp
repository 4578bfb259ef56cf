// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVChildProcess.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void closeDescriptor(int &fd) {
    if (fd != -1) {
        ::close(fd);
        fd = -1;
    }
}

int pidfdOpen(pid_t pid) {
    return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
}

int millisecondsUntil(KVChildProcess::Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - KVChildProcess::Clock::now());
    return static_cast<int>(std::clamp<long long>(left.count(), 0, 60'000));
}

} // namespace

KVChildProcess::~KVChildProcess() {
    if (hasChild())
        terminate();
    closeDescriptor(m_wakeFd);
}

bool KVChildProcess::start(const std::vector<std::string> &arguments, bool withInput) {
    if (hasChild() || arguments.empty() || arguments.front().empty())
        return false;
    if (m_wakeFd == -1)
        m_wakeFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_wakeFd == -1)
        return false;
    int outputEnds[2];
    // Close-on-exec, so that children started at the same time by other threads do not hold
    // these channels open.
    if (::pipe2(outputEnds, O_CLOEXEC) != 0)
        return false;
    // Input is a socket, so that writing to a child that has gone fails with EPIPE instead of
    // raising SIGPIPE in this process.
    int inputEnds[2] = {-1, -1};
    if (withInput && ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, inputEnds) != 0) {
        ::close(outputEnds[0]);
        ::close(outputEnds[1]);
        return false;
    }

    std::vector<char *> argv;
    argv.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (withInput)
        posix_spawn_file_actions_adddup2(&actions, inputEnds[1], STDIN_FILENO);
    else
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, outputEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outputEnds[1], STDERR_FILENO);

    // The child starts with SIGPIPE at its default and nothing blocked, whatever the calling
    // thread has set, so that it behaves as if started from a fresh shell.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    sigset_t unblocked;
    sigemptyset(&unblocked);
    posix_spawnattr_setsigmask(&attributes, &unblocked);
    // A process group of its own: Ctrl-C at the terminal is the program's to answer, and a
    // cancel or a time limit ends the tool together with anything it started.
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK |
                                              POSIX_SPAWN_SETPGROUP);

    pid_t pid = -1;
    const int error = posix_spawnp(&pid, argv.front(), &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    ::close(outputEnds[1]);
    if (withInput)
        ::close(inputEnds[1]);
    if (error != 0) {
        ::close(outputEnds[0]);
        if (withInput)
            ::close(inputEnds[0]);
        return false;
    }
    std::lock_guard lock(m_mutex);
    m_pid = pid;
    m_exitFd = pidfdOpen(pid);
    m_outputFd = outputEnds[0];
    m_inputFd = withInput ? inputEnds[0] : -1;
    return true;
}

bool KVChildProcess::isRunning() const {
    std::lock_guard lock(m_mutex);
    if (m_pid == -1)
        return false;
    // Exited but not yet reaped counts as gone.
    struct pollfd fd = {m_exitFd, POLLIN, 0};
    return m_exitFd == -1 || ::poll(&fd, 1, 0) == 0;
}

bool KVChildProcess::writeInput(std::string_view text) {
    while (m_inputFd != -1 && !text.empty()) {
        const ssize_t sent = ::send(m_inputFd, text.data(), text.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        text.remove_prefix(static_cast<size_t>(sent));
    }
    return m_inputFd != -1;
}

KVChildProcess::Answer KVChildProcess::readUntil(std::string_view marker, std::string *output,
                                                 Clock::time_point deadline) {
    const size_t start = output->size();
    char buffer[16384];
    for (;;) {
        if (output->size() >= start + marker.size() &&
            std::string_view(*output).substr(output->size() - marker.size()) == marker)
            return Answer::Complete;
        if (m_cancelled.load())
            return Answer::Cancelled;
        if (m_outputFd == -1)
            return Answer::Ended;
        struct pollfd fds[2] = {{m_outputFd, POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
        const int ready = ::poll(fds, 2, millisecondsUntil(deadline));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready == 0 && Clock::now() >= deadline)
            return Answer::TimedOut;
        if (fds[1].revents)
            continue; // the flag is checked above
        if (fds[0].revents) {
            const ssize_t got = ::read(m_outputFd, buffer, sizeof buffer);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0) {
                closeDescriptor(m_outputFd);
                continue;
            }
            output->append(buffer, static_cast<size_t>(got));
        }
    }
}

size_t KVChildProcess::read(char *buffer, size_t count) {
    size_t done = 0;
    while (m_outputFd != -1 && done < count) {
        const ssize_t got = ::read(m_outputFd, buffer + done, count - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}

std::string KVChildProcess::readAll() {
    std::string text;
    char buffer[65536];
    while (const size_t count = read(buffer, sizeof buffer))
        text.append(buffer, count);
    return text;
}

void KVChildProcess::closeInput() {
    closeDescriptor(m_inputFd);
}

int KVChildProcess::wait() {
    closeInput();
    // Drained rather than closed: a child still writing would otherwise die of SIGPIPE.
    char buffer[65536];
    while (read(buffer, sizeof buffer) > 0) {
    }
    closeDescriptor(m_outputFd);
    waitForExit(Clock::time_point::max());
    return reap();
}

int KVChildProcess::finish(std::chrono::milliseconds grace) {
    closeInput();
    const Clock::time_point deadline = Clock::now() + grace;
    std::string dropped;
    while (readUntil("\n", &dropped, deadline) == Answer::Complete)
        dropped.clear();
    if (waitForExit(deadline))
        return terminate(std::chrono::milliseconds(0));
    return terminate();
}

int KVChildProcess::terminate(std::chrono::milliseconds grace) {
    closeInput();
    closeDescriptor(m_outputFd);
    signalGroup(SIGTERM);
    if (!waitForExit(Clock::now() + grace))
        signalGroup(SIGKILL);
    waitForExit(Clock::time_point::max());
    // Whatever the tool started and left behind in its group goes too; the group's id cannot
    // be reused while its leader is not yet reaped.
    signalGroup(SIGKILL);
    return reap();
}

void KVChildProcess::cancel() {
    m_cancelled = true;
    signalGroup(SIGTERM);
    if (m_wakeFd != -1) {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_wakeFd, &one, sizeof one);
    }
}

void KVChildProcess::resetCancel() {
    m_cancelled = false;
    uint64_t value = 0;
    if (m_wakeFd != -1) {
        [[maybe_unused]] const ssize_t got = ::read(m_wakeFd, &value, sizeof value);
    }
}

std::string KVChildProcess::readableCommandLine(const std::vector<std::string> &arguments) {
    std::string line;
    for (const std::string &argument : arguments) {
        if (!line.empty())
            line += ' ';
        const bool plain = !argument.empty() &&
                           argument.find_first_of(" \t\n'\"\\$`;&|<>()*?[]#~") == std::string::npos;
        if (plain) {
            line += argument;
            continue;
        }
        line += '\'';
        for (const char c : argument) {
            if (c == '\'')
                line += "'\\''";
            else
                line += c;
        }
        line += '\'';
    }
    return line;
}

bool KVChildProcess::hasChild() const {
    std::lock_guard lock(m_mutex);
    return m_pid != -1;
}

bool KVChildProcess::waitForExit(Clock::time_point deadline) {
    int exitFd;
    {
        std::lock_guard lock(m_mutex);
        if (m_pid == -1)
            return true;
        exitFd = m_exitFd;
    }
    if (exitFd == -1) {
        // No pidfd (an old kernel): only an unbounded wait is possible.
        if (deadline != Clock::time_point::max())
            return false;
        siginfo_t info;
        while (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT) != 0 &&
               errno == EINTR) {
        }
        return true;
    }
    for (;;) {
        struct pollfd fd = {exitFd, POLLIN, 0};
        const int timeout = deadline == Clock::time_point::max() ? -1 : millisecondsUntil(deadline);
        const int ready = ::poll(&fd, 1, timeout);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready > 0)
            return true;
        if (Clock::now() >= deadline)
            return false;
    }
}

int KVChildProcess::reap() {
    std::lock_guard lock(m_mutex);
    if (m_pid == -1)
        return -1;
    int status = 0;
    pid_t waited;
    do {
        waited = ::waitpid(m_pid, &status, 0);
    } while (waited == -1 && errno == EINTR);
    m_pid = -1;
    closeDescriptor(m_exitFd);
    return waited == -1 ? -1 : status;
}

void KVChildProcess::signalGroup(int signal) {
    std::lock_guard lock(m_mutex);
    if (m_pid != -1)
        ::kill(-m_pid, signal);
}
