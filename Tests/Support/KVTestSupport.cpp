#include "KVTestSupport.h"

#include "KVChildProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <sys/wait.h>

namespace KVTest {

QString samplePath(const QString &relative) {
    const QString root = QDir::cleanPath(QStringLiteral(KALVORA_SAMPLES_DIR));
    return relative.isEmpty() ? root : root + QLatin1Char('/') + relative;
}

QStringList copySamples(const QStringList &relatives, const QString &folder) {
    QStringList copies;
    QDir().mkpath(folder);
    for (const QString &relative : relatives) {
        const QString target = folder + QLatin1Char('/') + QFileInfo(relative).fileName();
        QFile::remove(target);
        if (QFile::copy(samplePath(relative), target)) {
            QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner);
            copies << target;
        }
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

} // namespace KVTest
