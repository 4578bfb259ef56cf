// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

// One child program started without a shell, in a process group of its own, its standard
// output and standard error merged on one pipe that the parent reads. Its arguments go to it as
// a list, unchanged: nothing in an argument is ever run. A child started with input open can be
// talked to (a tool that stays open and answers one request at a time).
//
// One thread drives the child; cancel() may be called from any thread.
class KVChildProcess {
public:
    using Clock = std::chrono::steady_clock;
    enum class Answer { Complete, Ended, TimedOut, Cancelled };

    KVChildProcess() = default;
    KVChildProcess(const KVChildProcess &) = delete;
    KVChildProcess &operator=(const KVChildProcess &) = delete;
    ~KVChildProcess();

    // Starts arguments[0] (looked up in PATH when it has no slash) with these arguments.
    // Standard input is /dev/null, or, with `withInput`, a channel writeInput() feeds. False
    // when it could not be started.
    bool start(const std::vector<std::string> &arguments, bool withInput = false);
    // Started and not yet exited.
    bool isRunning() const;

    // Hands the child more input; false when it has gone (never a SIGPIPE here).
    bool writeInput(std::string_view text);
    // Reads the output until it ends with `marker` (appended to *output, marker included),
    // the child closes its end, the deadline passes or cancel() is called.
    Answer readUntil(std::string_view marker, std::string *output, Clock::time_point deadline);
    // Reads up to count bytes of the output; fewer only once the child closed its end.
    size_t read(char *buffer, size_t count);
    // All the output to its end.
    std::string readAll();

    // Closes the input, reads the output to its end (so that the child never dies of a
    // SIGPIPE) and waits for the child. Returns the wait status, or -1 when nothing ran.
    int wait();
    // Closes the input (a tool waiting for requests then ends), reads and drops the output
    // until the child closes it, and waits for it at most `grace`; then terminate().
    int finish(std::chrono::milliseconds grace = std::chrono::seconds(2));
    // Ends the child's whole process group: SIGTERM, then SIGKILL after the grace time.
    // Returns the wait status, or -1 when nothing ran.
    int terminate(std::chrono::milliseconds grace = std::chrono::seconds(2));

    // From any thread: sends SIGTERM to the process group and wakes a read in progress, which
    // then answers Cancelled. Stays in force until resetCancel().
    void cancel();
    bool isCancelled() const { return m_cancelled.load(); }
    void resetCancel();

    // The arguments as one line a reader (not a shell) can follow, for logging only.
    static std::string readableCommandLine(const std::vector<std::string> &arguments);

private:
    bool hasChild() const; // started and not yet reaped
    bool waitForExit(Clock::time_point deadline);
    int reap();
    void signalGroup(int signal);
    void closeInput();

    // m_pid is set and cleared under m_mutex, and the child is reaped only with the mutex
    // held, so that a signal from cancel() never reaches a reused process id.
    mutable std::mutex m_mutex;
    pid_t m_pid = -1;
    int m_exitFd = -1; // pidfd: readable once the child has exited
    int m_outputFd = -1;
    int m_inputFd = -1;
    int m_wakeFd = -1; // eventfd written by cancel()
    std::atomic<bool> m_cancelled{false};
};
