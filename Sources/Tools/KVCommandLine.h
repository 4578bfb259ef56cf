// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVAppDelegate.h"
#include "KVHeadlessUserInterface.h"
#include "KVSuggestedMatches.h"

#include <QStringList>

#include <cstdio>

// Shared ground of the command-line front end: photos are added through the same model code as
// in the window, with a window that has no pixels.
class KVCommandLine {
public:
    KVCommandLine();

    KVAppDelegate &model() { return m_model; }
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
    static void print(std::FILE *stream, const QString &text);

private:
    KVHeadlessUserInterface m_ui;
    KVAppDelegate m_model;
};

int KVRunListCommand(const QStringList &arguments);
int KVRunShiftCommand(const QStringList &arguments);
int KVRunSyncCommand(const QStringList &arguments);
int KVRunSuggestCommand(const QStringList &arguments);
// The suggested offsets as text: one line per camera, with its pair of photos and why it is or is
// not sure.
QString KVSuggestionText(const KVSuggestedMatches &suggestion);
