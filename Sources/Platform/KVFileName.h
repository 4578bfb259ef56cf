// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// File names as the file system keeps them: bytes, which Qt can only hold as text when they
// are valid UTF-8. Qt's directory listings leave out every other name without a word (a Latin-1
// name from an old card), and such a name cannot be turned back into its bytes, so no Qt call
// can open that file.
namespace KVFileName {
// Whether Qt's text for `name` gives back exactly these bytes.
bool isDecodable(const QByteArray &name);
// The entries of `folder` that Qt's listing leaves out because their names are not valid
// UTF-8, hidden ones (starting with a dot) aside, in the order of their bytes: each as the
// folder's path and the name shown with replacement characters. Empty when there is none or
// the folder cannot be read.
QStringList undecodableEntries(const QString &folder);
// Whether `path`, which does not exist, may stand for a name that was not valid UTF-8 when it
// reached the program (from a command line or a drop) and was shown with replacement
// characters on the way.
bool mayBeUndecodable(const QString &path);
} // namespace KVFileName
