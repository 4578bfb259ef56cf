// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

// One child program started without a shell, its standard output and standard error merged on
// one pipe that the parent reads: popen(command " 2>&1", "r") and pclose, minus the shell, so
// that nothing in an argument is ever run.
class KVChildProcess {
public:
    KVChildProcess() = default;
    KVChildProcess(const KVChildProcess &) = delete;
    KVChildProcess &operator=(const KVChildProcess &) = delete;
    ~KVChildProcess();

    // Splits a command line into arguments the way sh quotes them: unquoted blanks separate
    // words; '...' is literal; inside "..." a backslash escapes only $ ` " \ and newline
    // (backslash-newline vanishes) and stays literal before anything else; an unquoted
    // backslash escapes the next character. Nothing is expanded: $ and ` inside double quotes
    // stay literal, so a quoted file name can never run anything. A line that would need a
    // real shell (operators, redirections, unquoted $ ` globs, ~ or # at a word start, an
    // assignment or reserved word in command position, an unbalanced quote, no word at all)
    // gives nothing.
    static std::optional<std::vector<std::string>> splitArguments(std::string_view commandLine);

    // Starts arguments[0] (looked up in PATH when it has no slash) with these arguments and
    // standard input from /dev/null. False when it could not be started.
    bool start(const std::vector<std::string> &arguments);
    // Reads up to count bytes of the merged output; fewer only once the child closed its end.
    size_t read(char *buffer, size_t count);
    // Closes the parent's end of the pipe (a child still writing then gets SIGPIPE, as under
    // pclose) and waits for the child. Returns the wait status, or -1 when nothing ran.
    int wait();

private:
    pid_t m_pid = -1;
    int m_fd = -1;
};
