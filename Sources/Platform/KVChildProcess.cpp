// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVChildProcess.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// Outside quotes these would make sh do something a plain split cannot: run a second command,
// redirect, substitute or glob. An unquoted newline ends the command.
bool needsShell(char c) {
    return c == '\0' || std::string_view("|&;<>()$`*?[\n").find(c) != std::string_view::npos;
}

// In command position sh reads these as syntax, not as a program to start.
bool isReservedWord(std::string_view word) {
    static constexpr std::array<std::string_view, 16> words = {
        "!",    "{",  "}",   "case", "do", "done", "elif",  "else",
        "esac", "fi", "for", "if",   "in", "then", "until", "while"};
    for (std::string_view reserved : words) {
        if (word == reserved)
            return true;
    }
    return false;
}

// NAME=... in command position is an assignment for sh, not a program name.
bool isAssignment(std::string_view word) {
    const size_t equals = word.find('=');
    if (equals == 0 || equals == std::string_view::npos || (word[0] >= '0' && word[0] <= '9'))
        return false;
    for (size_t i = 0; i < equals; ++i) {
        const char c = word[i];
        const bool nameCharacter =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
        if (!nameCharacter)
            return false;
    }
    return true;
}

} // namespace

KVChildProcess::~KVChildProcess() {
    wait();
}

std::optional<std::vector<std::string>> KVChildProcess::splitArguments(std::string_view line) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    size_t wordStart = 0;
    auto finishWord = [&](size_t end) {
        if (!inWord)
            return true;
        if (words.empty()) {
            const std::string_view source = line.substr(wordStart, end - wordStart);
            if (isReservedWord(source) || isAssignment(source))
                return false;
        }
        words.push_back(std::move(word));
        word.clear();
        inWord = false;
        return true;
    };

    const size_t length = line.size();
    size_t i = 0;
    while (i < length) {
        const char c = line[i];
        if (c == '\\' && i + 1 < length && line[i + 1] == '\n') {
            i += 2; // line continuation: joins the two lines
            continue;
        }
        if (isBlank(c)) {
            if (!finishWord(i))
                return std::nullopt;
            ++i;
            continue;
        }
        if (!inWord) {
            if (c == '#' || c == '~')
                return std::nullopt;
            inWord = true;
            wordStart = i;
        }
        if (c == '\'') {
            const size_t close = line.find('\'', i + 1);
            if (close == std::string_view::npos)
                return std::nullopt;
            const std::string_view quoted = line.substr(i + 1, close - i - 1);
            if (quoted.find('\0') != std::string_view::npos)
                return std::nullopt;
            word.append(quoted);
            i = close + 1;
        } else if (c == '"') {
            ++i;
            while (i < length && line[i] != '"') {
                const char d = line[i];
                if (d == '\0')
                    return std::nullopt;
                if (d == '\\' && i + 1 < length &&
                    std::string_view("$`\"\\\n").find(line[i + 1]) != std::string_view::npos) {
                    if (line[i + 1] != '\n')
                        word += line[i + 1];
                    i += 2;
                } else {
                    // $ and ` stay literal: without a shell nothing is substituted.
                    word += d;
                    ++i;
                }
            }
            if (i >= length)
                return std::nullopt;
            ++i;
        } else if (c == '\\') {
            if (i + 1 >= length || line[i + 1] == '\0')
                return std::nullopt;
            word += line[i + 1];
            i += 2;
        } else {
            if (needsShell(c))
                return std::nullopt;
            word += c;
            ++i;
        }
    }
    if (!finishWord(length) || words.empty())
        return std::nullopt;
    return words;
}

bool KVChildProcess::start(const std::vector<std::string> &arguments) {
    if (m_pid != -1 || arguments.empty() || arguments.front().empty())
        return false;
    int pipeEnds[2];
    // Close-on-exec, so that children started at the same time by other threads do not hold
    // this pipe open.
    if (pipe2(pipeEnds, O_CLOEXEC) != 0)
        return false;

    std::vector<char *> argv;
    argv.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDERR_FILENO);

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
    // A process group of its own: Ctrl-C at the terminal is the program's to answer (by
    // cancelling between photos), not a kill of the write under way.
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK |
                                              POSIX_SPAWN_SETPGROUP);

    pid_t pid = -1;
    const int error = posix_spawnp(&pid, argv.front(), &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    if (error != 0) {
        close(pipeEnds[0]);
        return false;
    }
    m_pid = pid;
    m_fd = pipeEnds[0];
    return true;
}

size_t KVChildProcess::read(char *buffer, size_t count) {
    size_t done = 0;
    while (m_fd != -1 && done < count) {
        const ssize_t got = ::read(m_fd, buffer + done, count - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}

int KVChildProcess::wait() {
    if (m_fd != -1) {
        close(m_fd);
        m_fd = -1;
    }
    if (m_pid == -1)
        return -1;
    int status = 0;
    pid_t waited;
    do {
        waited = waitpid(m_pid, &status, 0);
    } while (waited == -1 && errno == EINTR);
    m_pid = -1;
    return waited == -1 ? -1 : status;
}
