// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVChildProcess.h"

#include "KVTestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

#include <sys/wait.h>

using namespace std::chrono_literals;

namespace {

KVChildProcess::Clock::time_point in(std::chrono::milliseconds wait) {
    return KVChildProcess::Clock::now() + wait;
}

std::vector<std::string> shell(const std::string &script, std::vector<std::string> rest = {}) {
    std::vector<std::string> arguments{"/bin/sh", "-c", script, "sh"};
    arguments.insert(arguments.end(), rest.begin(), rest.end());
    return arguments;
}

} // namespace

TEST(KVChildProcess, ArgumentsArriveByteForByteWhateverTheyHoldAndHowLong) {
    const std::vector<std::string> odd = {
        "",
        "two words",
        "$(touch MARKER) `id` ; rm -rf / && echo \"q\" 'r' \\ \n next line",
        std::string(4000, 'p') + "/" + std::string(255, 'n'),
        "-execute",
    };
    KVChildProcess child;
    ASSERT_TRUE(child.start(shell("printf '%s\\0' \"$@\"", odd)));
    const std::string output = child.readAll();
    EXPECT_EQ(child.wait(), 0);
    std::vector<std::string> received;
    for (size_t start = 0, end; (end = output.find('\0', start)) != std::string::npos;
         start = end + 1)
        received.push_back(output.substr(start, end - start));
    EXPECT_EQ(received, odd);
}

TEST(KVChildProcess, WaitReadsTheWholeOutputSoTheChildNeverDiesOfABrokenPipe) {
    // Far more than a pipe holds, and nobody reads it before wait().
    KVChildProcess child;
    ASSERT_TRUE(child.start(shell("head -c 3000000 /dev/zero; exit 3")));
    const int status = child.wait();
    ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST(KVChildProcess, AnswersAreReadUpToTheirMarkerOneRequestAtATime) {
    KVChildProcess child;
    ASSERT_TRUE(child.start({"/bin/cat"}, true));
    for (const std::string request : {"first\n{ready1}\n", "second\n{ready2}\n"}) {
        std::string answer;
        ASSERT_TRUE(child.writeInput(request));
        const std::string marker = request.substr(request.find('{'));
        EXPECT_EQ(child.readUntil(marker, &answer, in(10s)), KVChildProcess::Answer::Complete);
        EXPECT_EQ(answer, request);
    }
    // A marker that never comes: the deadline answers.
    std::string answer;
    child.writeInput("third\n");
    EXPECT_EQ(child.readUntil("{ready3}\n", &answer, in(200ms)), KVChildProcess::Answer::TimedOut);
    EXPECT_EQ(answer, "third\n");
    EXPECT_EQ(child.finish(), 0);
    // Input to a child that has gone fails, without a SIGPIPE in this process.
    EXPECT_FALSE(child.writeInput("late\n"));
}

TEST(KVChildProcess, CancelFromAnotherThreadEndsTheWholeProcessGroup) {
    QTemporaryDir gates;
    const std::string started = gates.filePath("started").toStdString();
    for (const bool ignoresTerm : {false, true}) {
        SCOPED_TRACE(ignoresTerm ? "ignores SIGTERM" : "plain");
        KVChildProcess child;
        // A child of the tool in the same group, and a tool that may shrug off SIGTERM.
        const std::string script = std::string(ignoresTerm ? "trap '' TERM; " : "") +
                                   "sleep 100000 & echo $$ > \"$1\"; while :; do read x; done";
        ASSERT_TRUE(child.start(shell(script, {started}), true));
        std::thread canceller([&] {
            // Not the event loop's thread: a plain wait for the tool's sign of life.
            const auto deadline = in(10s);
            while (KVTest::readFile(gates.filePath("started")).isEmpty() &&
                   KVChildProcess::Clock::now() < deadline)
                std::this_thread::sleep_for(5ms);
            child.cancel();
        });
        std::string answer;
        EXPECT_EQ(child.readUntil("{never}", &answer, in(60s)), KVChildProcess::Answer::Cancelled);
        canceller.join();
        const auto begin = KVChildProcess::Clock::now();
        const int status = child.terminate();
        // SIGKILL follows SIGTERM after the grace time, not before, and not much after.
        EXPECT_LT(KVChildProcess::Clock::now() - begin, ignoresTerm ? 4s : 1s);
        EXPECT_TRUE(WIFSIGNALED(status));
        const long group = KVTest::readFile(gates.filePath("started")).trimmed().toLong();
        ASSERT_GT(group, 0);
        EXPECT_TRUE(KVTest::waitFor([&] { return !KVTest::processGroupAlive(group); }, 2s));
        QFile::remove(gates.filePath("started"));
    }
}
