// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTestSupport.h"

#include "KVChildProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <sys/wait.h>

#include <stdexcept>

namespace KVTest {

QString samplePath(const QString &relative) {
    const QString root = QDir::cleanPath(QStringLiteral(KALVORA_SAMPLES_DIR));
    const QString path = relative.isEmpty() ? root : root + QLatin1Char('/') + relative;
    if (!QFileInfo::exists(path))
        throw std::runtime_error("Test data missing: " + path.toStdString());
    return path;
}

QStringList copySamples(const QStringList &relatives, const QString &folder) {
    QStringList copies;
    QDir().mkpath(folder);
    for (const QString &relative : relatives) {
        const QString target = folder + QLatin1Char('/') + QFileInfo(relative).fileName();
        QFile::remove(target);
        const QString source = samplePath(relative);
        if (!QFile::copy(source, target))
            throw std::runtime_error("Could not copy " + source.toStdString() + " to " +
                                     target.toStdString());
        QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner);
        copies << target;
    }
    return copies;
}

bool waitFor(const std::function<bool()> &condition, std::chrono::milliseconds deadline) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > deadline.count())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

QByteArray readFile(const QString &path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

int runProgram(const QString &program, const QStringList &arguments, QByteArray *output) {
    std::vector<std::string> words{program.toStdString()};
    for (const QString &argument : arguments)
        words.push_back(argument.toStdString());
    KVChildProcess child;
    if (!child.start(words))
        return -1;
    QByteArray text;
    char buffer[65536];
    while (const size_t count = child.read(buffer, sizeof buffer))
        text.append(buffer, qsizetype(count));
    if (output)
        *output = text;
    const int status = child.wait();
    return status >= 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

QString writeFakeTool(const QString &path, const QString &snippet) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return {};
    file.write(QString(R"(#!/bin/sh
request="$0.request.$$"
n=0
: > "$request"
while IFS= read -r line; do
    case "$line" in
    -execute*)
        n=$((n + 1))
        refuse=
        %1
        if [ -z "$refuse" ]; then '%2' -@ "$request"; else echo "Error: $refuse"; fi
        : > "$request"
        echo "{ready${line#-execute}}"
        ;;
    *) printf '%s\n' "$line" >> "$request" ;;
    esac
done
rm -f "$request"
)")
                   .arg(snippet, QStringLiteral(KALVORA_EXIFTOOL))
                   .toUtf8());
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

bool processGroupAlive(long group) {
    const QStringList pids = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &pid : pids) {
        if (pid.toLong() <= 0)
            continue;
        // After the command's closing parenthesis: state, parent, process group.
        const QByteArray stat = readFile(QStringLiteral("/proc/%1/stat").arg(pid));
        const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 2 && fields[2].toLong() == group && fields[0] != "Z")
            return true;
    }
    return false;
}

} // namespace KVTest
