// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFileName.h"

#include <QFile>
#include <QFileInfo>

#include <dirent.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace KVFileName {

bool isDecodable(const QByteArray &name) {
    return QString::fromUtf8(name).toUtf8() == name;
}

QStringList undecodableEntries(const QString &folder) {
    const std::unique_ptr<DIR, int (*)(DIR *)> directory(::opendir(QFile::encodeName(folder)),
                                                         ::closedir);
    if (!directory)
        return {};
    std::vector<QByteArray> names;
    while (const dirent *entry = ::readdir(directory.get())) {
        const QByteArray name(entry->d_name);
        if (!name.startsWith('.') && !isDecodable(name))
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    QStringList paths;
    const QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
    for (const QByteArray &name : names)
        paths << prefix + QString::fromUtf8(name);
    return paths;
}

bool mayBeUndecodable(const QString &path) {
    return path.contains(QChar::ReplacementCharacter) && !QFileInfo::exists(path);
}

} // namespace KVFileName
