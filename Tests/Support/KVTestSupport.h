// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>

namespace KVTest {
// Tests/Data/<relative>; throws, naming the file, when it is missing, so that a test whose data
// is gone fails with that message instead of crashing on an empty result.
QString samplePath(const QString &relative = QString());
// Copies sample files (paths relative to the samples folder) into `folder`; returns the copies.
QStringList copySamples(const QStringList &relatives, const QString &folder);
// Runs the main thread's events until the condition holds or the deadline passes.
bool waitFor(const std::function<bool()> &condition,
             std::chrono::milliseconds deadline = std::chrono::seconds(20));
QByteArray readFile(const QString &path);
// Runs a program to its end with its standard output and error merged into `output`; returns
// its exit status, or -1 when it could not start or did not exit normally. Spawned without a
// fork of the test process, which ThreadSanitizer cannot follow.
int runProgram(const QString &program, const QStringList &arguments, QByteArray *output = nullptr);
// Writes an executable stand-in for the tool at `path` that talks like the real one kept open
// (one request per photo, answered with "{readyN}") and hands each request to the real tool.
// Before each photo it runs the shell `snippet`, which sees the photo's number (from 1, per
// tool process) in $n and may set $refuse to a message: the photo is then refused with it.
QString writeFakeTool(const QString &path, const QString &snippet);
// Whether any process of this process group still runs (zombies, which nobody may reap in a
// container, count as gone).
bool processGroupAlive(long group);
} // namespace KVTest
