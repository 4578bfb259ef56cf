// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QUrl>

// Paths as the file system keeps them: bytes, which need not be UTF-8 (a Latin-1 name written by
// an old card). Qt turns such bytes into replacement characters, which name no file, and skips
// such entries in its listings. Kalvora holds a path as text in which each byte that is not part
// of valid UTF-8 stands as one of the code points U+DC80 to U+DCFF, which valid UTF-8 never
// yields: the text gives back the exact bytes, and every valid name is its usual text. Every
// call that reaches the file system goes through `encode`; no Qt file class sees such a path.
namespace KVFileName {
// The text of file system bytes; `encode` gives the same bytes back.
QString decode(const QByteArray &bytes);
// The file system bytes of a path made by `decode` (or of any other text, as UTF-8).
QByteArray encode(const QString &path);
// Whether the bytes are valid UTF-8, that is whether Qt's own text for them is exact.
bool isDecodable(const QByteArray &bytes);
// The path as a person reads it: each byte that is not UTF-8 shown as a replacement character.
QString displayed(const QString &path);
// The last component of a path, as a person reads it.
QString displayedName(const QString &path);

// A file URL of the path's bytes ("%E9" for a Latin-1 "é"), as file managers write them.
QUrl url(const QString &path);
// The path of a local file URL, byte for byte, whether it came from `url`, from
// QUrl::fromLocalFile or from another program. Empty for other URLs.
QString path(const QUrl &url);
// The program's arguments after the program's name, byte for byte. Call it after the
// application object has taken out the options it handles.
QStringList arguments(int argc, const char *const *argv);
// An absolute, clean path: relative ones are taken from the current folder.
QString absolute(const QString &path);
// The path with every link and "." or ".." resolved, or empty when it does not exist.
QString canonical(const QString &path);

// What a path names, following links as opening it would.
bool exists(const QString &path);
bool isFile(const QString &path);
bool isFolder(const QString &path);
// Whether the path itself is a link.
bool isLink(const QString &path);
// Opens the regular file the path names for reading into `file`. Never blocks: a pipe put in a
// file's place is refused at once.
bool openForReading(const QString &path, QFile &file);

// The paths of the entries of `folder` in the order of their names, "." and ".." aside, hidden
// ones (starting with a dot) only when asked for. Empty when the folder cannot be read.
enum class Hidden { Skipped, Included };
QStringList entries(const QString &folder, Hidden hidden);
} // namespace KVFileName
