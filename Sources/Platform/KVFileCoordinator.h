// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVFilePresenter.h"

#include <QString>

#include <memory>

class KVBaseOperationQueue;

// Watches, with one inotify thread, the folders of the registered presenters' files and the
// user's Trash, and tells a presenter when its file was renamed or moved, on one shared queue.
namespace KVFileCoordinator {
void addFilePresenter(const std::shared_ptr<KVFilePresenter> &presenter);
void removeFilePresenter(const KVFilePresenter *presenter);
// The serial queue every presenter callback runs on.
KVBaseOperationQueue &presenterQueue();
// $XDG_DATA_HOME/Trash/files (default ~/.local/share/Trash/files), or empty when absent.
QString trashFilesPath();
// Whether the path lies in a trash: the user's, or that of any volume (<top>/.Trash-<uid>/files,
// <top>/.Trash/<uid>/files).
bool isTrashPath(const QString &path);
} // namespace KVFileCoordinator
