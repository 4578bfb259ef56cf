// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QUrl>

namespace KVURLExtensions {
// Whether the file can be written by this user; false when that cannot be asked.
bool isFileWritable(const QUrl &url);
// The mount point of the volume holding the URL: the longest mounted, non-hidden volume path that
// is a prefix of the URL's path, so a card mounted under another volume wins over its parent.
// Empty when there is none.
QString volumePath(const QUrl &url);
} // namespace KVURLExtensions
