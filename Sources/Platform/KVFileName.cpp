// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFileName.h"

#include <QDir>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

constexpr char16_t kFirstEscape = 0xDC80;
constexpr char16_t kLastEscape = 0xDCFF;

// The length of the valid UTF-8 sequence at `at`, or 0 when the byte there starts none:
// overlong forms, surrogates and code points beyond U+10FFFF are not valid.
int sequenceAt(const QByteArray &bytes, qsizetype at, char32_t *decoded = nullptr) {
    const auto byte = [&](qsizetype i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(at);
    int length = 0;
    char32_t code = 0;
    char32_t minimum = 0;
    if (lead < 0x80) {
        length = 1, code = lead;
    } else if ((lead & 0xE0) == 0xC0) {
        length = 2, code = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, code = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, code = lead & 0x07, minimum = 0x10000;
    } else {
        return 0;
    }
    if (at + length > bytes.size())
        return 0;
    for (int i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (byte(at + i) & 0x3F);
    }
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return 0;
    if (decoded)
        *decoded = code;
    return length;
}

// Whether the unit at `at` stands for a byte: a low surrogate of the escape range that is not
// the second half of a pair.
bool isEscape(QStringView path, qsizetype at) {
    const char16_t unit = path[at].unicode();
    return unit >= kFirstEscape && unit <= kLastEscape &&
           !(at > 0 && QChar::isHighSurrogate(path[at - 1].unicode()));
}

bool statOf(const QString &path, struct stat *info) {
    return !path.isEmpty() && ::stat(KVFileName::encode(path).constData(), info) == 0;
}

} // namespace

namespace KVFileName {

QString decode(const QByteArray &bytes) {
    // Decoded here rather than by Qt, which drops a leading byte order mark: that is part of a
    // name like any other character.
    QString text;
    text.reserve(bytes.size());
    for (qsizetype at = 0; at < bytes.size();) {
        char32_t code = 0;
        const int length = sequenceAt(bytes, at, &code);
        if (length == 0) {
            text += QChar(char16_t(0xDC00 + static_cast<unsigned char>(bytes[at])));
            ++at;
            continue;
        }
        if (QChar::requiresSurrogates(code))
            text += QChar(QChar::highSurrogate(code)), text += QChar(QChar::lowSurrogate(code));
        else
            text += QChar(char16_t(code));
        at += length;
    }
    return text;
}

QByteArray encode(const QString &path) {
    QByteArray bytes;
    qsizetype runStart = 0;
    for (qsizetype at = 0; at < path.size(); ++at) {
        if (!isEscape(path, at))
            continue;
        bytes += QStringView(path).sliced(runStart, at - runStart).toUtf8();
        bytes += char(path[at].unicode() - 0xDC00);
        runStart = at + 1;
    }
    if (runStart == 0)
        return path.toUtf8();
    bytes += QStringView(path).sliced(runStart).toUtf8();
    return bytes;
}

bool isDecodable(const QByteArray &bytes) {
    for (qsizetype at = 0; at < bytes.size();) {
        const int length = sequenceAt(bytes, at);
        if (length == 0)
            return false;
        at += length;
    }
    return true;
}

QString displayed(const QString &path) {
    QString shown = path;
    for (qsizetype at = 0; at < shown.size(); ++at) {
        if (isEscape(path, at))
            shown[at] = QChar::ReplacementCharacter;
    }
    return shown;
}

QString displayedName(const QString &path) {
    return displayed(path.mid(path.lastIndexOf(u'/') + 1));
}

QUrl url(const QString &path) {
    const QByteArray bytes = encode(path);
    if (isDecodable(bytes))
        return QUrl::fromLocalFile(path);
    return QUrl::fromEncoded("file://" + bytes.toPercentEncoding("/"));
}

QString path(const QUrl &url) {
    if (!url.isLocalFile())
        return {};
    // Qt's own text is exact unless a byte was not UTF-8, which it turns into U+FFFD; a name
    // that holds U+FFFD itself comes out the same either way.
    const QString local = url.toLocalFile();
    if (!local.contains(QChar::ReplacementCharacter))
        return local;
    return decode(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
}

QStringList arguments(int argc, const char *const *argv) {
    QStringList list;
    for (int i = 1; i < argc; ++i)
        list << decode(QByteArray(argv[i]));
    return list;
}

QString absolute(const QString &path) {
    if (path.startsWith(u'/'))
        return QDir::cleanPath(path);
    const std::unique_ptr<char, decltype(&std::free)> current(::getcwd(nullptr, 0), std::free);
    const QString folder = current ? decode(QByteArray(current.get())) : QStringLiteral("/");
    return QDir::cleanPath(folder + u'/' + path);
}

QString canonical(const QString &path) {
    if (path.isEmpty())
        return {};
    const std::unique_ptr<char, decltype(&std::free)> resolved(
        ::realpath(encode(path).constData(), nullptr), std::free);
    return resolved ? decode(QByteArray(resolved.get())) : QString();
}

bool exists(const QString &path) {
    struct stat info {};
    return statOf(path, &info);
}

bool isFile(const QString &path) {
    struct stat info {};
    return statOf(path, &info) && S_ISREG(info.st_mode);
}

bool isFolder(const QString &path) {
    struct stat info {};
    return statOf(path, &info) && S_ISDIR(info.st_mode);
}

bool isLink(const QString &path) {
    struct stat info {};
    return !path.isEmpty() && ::lstat(encode(path).constData(), &info) == 0 &&
           S_ISLNK(info.st_mode);
}

bool openForReading(const QString &path, QFile &file) {
    const int fd = ::open(encode(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return false;
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) ||
        !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return false;
    }
    return true;
}

QStringList entries(const QString &folder, Hidden hidden) {
    const std::unique_ptr<DIR, int (*)(DIR *)> directory(::opendir(encode(folder).constData()),
                                                         ::closedir);
    if (!directory)
        return {};
    QStringList names;
    while (const dirent *entry = ::readdir(directory.get())) {
        const QByteArray name(entry->d_name);
        if (name == "." || name == ".." || (hidden == Hidden::Skipped && name.startsWith('.')))
            continue;
        names << decode(name);
    }
    std::sort(names.begin(), names.end());
    const QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
    for (QString &name : names)
        name.prepend(prefix);
    return names;
}

} // namespace KVFileName
