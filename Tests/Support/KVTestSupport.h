#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>

namespace KVTest {
// ../shared/samples/<relative>
QString samplePath(const QString &relative = QString());
// Copies sample files (paths relative to the samples folder) into `folder`; returns the copies.
QStringList copySamples(const QStringList &relatives, const QString &folder);
// Runs the main thread's events until the condition holds or the deadline passes.
bool waitFor(const std::function<bool()> &condition,
             std::chrono::milliseconds deadline = std::chrono::seconds(20));
QByteArray readFile(const QString &path);
} // namespace KVTest
