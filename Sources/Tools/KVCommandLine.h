// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVAppDelegate.h"
#include "KVHeadlessUserInterface.h"
#include "KVSuggestedMatches.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QStringList>

#include <cstdio>
#include <functional>
#include <optional>

// Shared ground of the command-line front end: photos are added through the same model code as
// in the window, with a window that has no pixels.
class KVCommandLine {
    Q_DECLARE_TR_FUNCTIONS(KVCommandLine)
public:
    KVCommandLine();

    KVAppDelegate &delegate() { return m_delegate; }
    KVCameraSets &model() { return m_delegate.cameraSets(); }
    KVHeadlessUserInterface &userInterface() { return m_ui; }

    // Adds the paths and runs the event loop until the model has installed the result.
    void addPaths(const QStringList &paths);
    // Not-added records of the last add.
    QList<QVariantMap> refusedFiles() const;

    static QString dateText(const QDateTime &date);
    // "+3725 s (+1:02:05)"
    static QString offsetText(double seconds);
    // The application folder the program runs from (Kalvora.app).
    static QString bundlePath();
    // The tool of the application folder; nothing, after saying so, when it cannot be run.
    // Checked before anything is read, so that no photo is ever handed to a missing tool.
    static std::optional<QString> runnableToolPath();
    static void print(std::FILE *stream, const QString &text);

    // Before a command reads or changes photos: a run cut off earlier must be settled first
    // (kalvora-cli recover). Prints why and gives the exit status 1 when one waits and the
    // command changes photos; commands that only read are warned.
    static std::optional<int> refuseWhileInterrupted(bool changesPhotos);
    // Runs the event loop until the controller's run has ended, drawing its progress on a
    // terminal. Ctrl-C (or SIGTERM, SIGHUP) calls `cancel` once. Returns that signal, or 0.
    // Signal handlers must be installed (KVRunProgress) before the run starts.
    static int waitForRun(KVSyncController &controller, std::FILE *progressStream,
                          const std::function<void()> &cancel);
    // Each photo as {"path", "reason"} (reason only where there is one).
    static QJsonArray photoArray(const std::vector<KVPhotoChangeResult> &results);
    // The lines "    path: reason" under a heading, or nothing for no photos.
    // Rows under their headings, each column as wide as its widest cell.
    static QString table(const QStringList &headings, const QList<QStringList> &rows);
    static QString photoList(const QString &heading,
                             const std::vector<KVPhotoChangeResult> &results);

private:
    KVHeadlessUserInterface m_ui;
    KVAppDelegate m_delegate;
};

int KVRunListCommand(const QStringList &arguments);
int KVRunShiftCommand(const QStringList &arguments);
int KVRunSyncCommand(const QStringList &arguments);
int KVRunSuggestCommand(const QStringList &arguments);
// The suggested offsets as text: one line per camera, with its pair of photos and why it is or is
// not sure.
QString KVSuggestionText(const KVSuggestedMatches &suggestion);
int KVRunUndoCommand(const QStringList &arguments);
int KVRunHistoryCommand(const QStringList &arguments);
int KVRunRecoverCommand(const QStringList &arguments);
